// Callers that hand in nothing where an answer belongs.
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::ComRef;
using kelvor::test::Stage;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

}  // namespace

TEST_CASE("A class factory without a place for the provider makes none")
{
    Stage stage;
    ComRef<IClassFactory> factory;
    REQUIRE(stage.Module().GetClassObject(kProviderClass, IID_IClassFactory,
                                          reinterpret_cast<void**>(factory.Receive())) == S_OK);
    CHECK(factory->CreateInstance(nullptr, IID_ICredentialProvider, nullptr) == E_POINTER);
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("A null output pointer of the provider is refused")
{
    Stage stage;
    ICredentialProvider* const provider = stage.Provider();
    DWORD number = 0;
    BOOL flag = FALSE;
    CHECK(provider->GetFieldDescriptorCount(nullptr) == E_POINTER);
    CHECK(provider->GetFieldDescriptorAt(0, nullptr) == E_POINTER);
    CHECK(provider->GetCredentialCount(nullptr, &number, &flag) == E_POINTER);
    CHECK(provider->GetCredentialCount(&number, nullptr, &flag) == E_POINTER);
    CHECK(provider->GetCredentialCount(&number, &number, nullptr) == E_POINTER);
    CHECK(provider->GetCredentialAt(0, nullptr) == E_POINTER);
}

TEST_CASE("A null output pointer for the content of a tile's fields is refused")
{
    Stage stage;
    auto& tile = stage.TheTile();
    DWORD number = 0;
    BOOL flag = FALSE;
    LPWSTR text = nullptr;
    CHECK(tile->GetBitmapValue(0, nullptr) == E_POINTER);
    CHECK(tile->GetCheckboxValue(0, nullptr, &text) == E_POINTER);
    CHECK(tile->GetCheckboxValue(0, &flag, nullptr) == E_POINTER);
    CHECK(tile->GetSubmitButtonValue(4, nullptr) == E_POINTER);
    CHECK(tile->GetComboBoxValueCount(3, nullptr, &number) == E_POINTER);
    CHECK(tile->GetComboBoxValueCount(3, &number, nullptr) == E_POINTER);
    CHECK(tile->GetComboBoxValueAt(3, 0, nullptr) == E_POINTER);
}

TEST_CASE("A null output pointer for the state of a field is refused, whichever it is")
{
    Stage stage;
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive = CPFIS_NONE;
    CHECK(stage.TheTile()->GetFieldState(1, nullptr, &interactive) == E_POINTER);
    CHECK(stage.TheTile()->GetFieldState(1, &state, nullptr) == E_POINTER);
}

TEST_CASE("A null output pointer for a tile's user or field options is refused")
{
    Stage stage;
    ComRef<ICredentialProviderCredential2> user;
    REQUIRE(stage.TheTile()->QueryInterface(IID_ICredentialProviderCredential2,
                                            reinterpret_cast<void**>(user.Receive())) == S_OK);
    ComRef<ICredentialProviderCredentialWithFieldOptions> options;
    REQUIRE(stage.TheTile()->QueryInterface(IID_ICredentialProviderCredentialWithFieldOptions,
                                            reinterpret_cast<void**>(options.Receive())) == S_OK);
    CHECK(user->GetUserSid(nullptr) == E_POINTER);
    CHECK(options->GetFieldOptions(0, nullptr) == E_POINTER);
}

TEST_CASE("A result without a place for the optional text is refused and disarms nothing")
{
    Stage stage;
    LPWSTR text = nullptr;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    CHECK(stage.TheTile()->ReportResult(0, 0, nullptr, &icon) == E_POINTER);
    CHECK(stage.TheTile()->ReportResult(0, 0, &text, nullptr) == E_POINTER);
    CHECK(stage.service.Count("disarm") == 0);
}

TEST_CASE("A click without a place for one of its answers starts no sign-in")
{
    Stage stage;
    stage.Select();
    const std::size_t threads = stage.threads.Started();
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = CPGSR_NO_CREDENTIAL_FINISHED;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization = {};
    LPWSTR text = nullptr;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    auto& tile = stage.TheTile();
    CHECK(tile->GetSerialization(nullptr, &serialization, &text, &icon) == E_POINTER);
    CHECK(tile->GetSerialization(&response, nullptr, &text, &icon) == E_POINTER);
    CHECK(tile->GetSerialization(&response, &serialization, nullptr, &icon) == E_POINTER);
    CHECK(tile->GetSerialization(&response, &serialization, &text, nullptr) == E_POINTER);
    CHECK(stage.threads.Started() == threads);
}
