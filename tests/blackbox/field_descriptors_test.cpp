#include "support/readable_failures.h"

#include "support/stage.h"

using kelvor::test::Stage;

TEST_CASE("The tile layout has seven fields")
{
    Stage stage;
    DWORD count = 0;
    CHECK(stage.Provider()->GetFieldDescriptorCount(&count) == S_OK);
    CHECK(count == 7);
}

TEST_CASE("Each field is described by its id, type, label and picture mark")
{
    struct Row {
        CREDENTIAL_PROVIDER_FIELD_TYPE type;
        const wchar_t* label;
        GUID guid;
    };
    const Row rows[] = {
        {CPFT_TILE_IMAGE,
         L"Image",
         {0x2D837775, 0xF6CD, 0x464E, {0xA7, 0x45, 0x48, 0x2F, 0xD0, 0xB4, 0x74, 0x93}}},
        {CPFT_LARGE_TEXT, L"Sign in with security key", {}},
        {CPFT_PASSWORD_TEXT, L"Security Key PIN", {}},
        {CPFT_COMBOBOX, L"Account", {}},
        {CPFT_SUBMIT_BUTTON, L"Sign In", {}},
        {CPFT_SMALL_TEXT, L"Status", {}},
        {CPFT_SMALL_TEXT, L"Finish", {}},
    };
    Stage stage;
    for (DWORD index = 0; index < 7; ++index) {
        CAPTURE(index);
        CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR* descriptor = nullptr;
        REQUIRE(stage.Provider()->GetFieldDescriptorAt(index, &descriptor) == S_OK);
        CHECK(descriptor->dwFieldID == index);
        CHECK(descriptor->cpft == rows[index].type);
        CHECK(std::wstring(descriptor->pszLabel) == rows[index].label);
        CHECK(descriptor->guidFieldType == rows[index].guid);
        CoTaskMemFree(descriptor->pszLabel);
        CoTaskMemFree(descriptor);
    }
}

TEST_CASE("A field behind the last one has no descriptor")
{
    Stage stage;
    auto* descriptor = reinterpret_cast<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR*>(&stage);
    CHECK(stage.Provider()->GetFieldDescriptorAt(7, &descriptor) == E_INVALIDARG);
    CHECK(descriptor == nullptr);
}
