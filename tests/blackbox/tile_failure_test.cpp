// What a tile or its fields cannot be given: LogonUI gets what could be had.
#include <shlwapi.h>

#include <cwchar>
#include <type_traits>

#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using namespace kelvor;
using namespace kelvor::test;
using kelvor::simulator::ImportPatch;

namespace {

HRESULT WINAPI NoRoomForOtherUser(LPCWSTR text, LPWSTR* copy)
{
    if (text != nullptr && std::wcsncmp(text, L"Other user", 10) == 0) {
        *copy = nullptr;
        return E_OUTOFMEMORY;
    }
    return SHStrDupW(text, copy);
}

HRESULT WINAPI NoRoomForFinish(LPCWSTR text, LPWSTR* copy)
{
    if (text != nullptr && std::wcscmp(text, L"Click Sign In to finish.") == 0) {
        *copy = nullptr;
        return E_OUTOFMEMORY;
    }
    return SHStrDupW(text, copy);
}

HRESULT WINAPI NoRoomForFailedSignIn(LPCWSTR text, LPWSTR* copy)
{
    if (text != nullptr && std::wcsncmp(text, L"Sign-in failed: ", 16) == 0) {
        *copy = nullptr;
        return E_OUTOFMEMORY;
    }
    return SHStrDupW(text, copy);
}

HRESULT WINAPI NoRoomForLabels(LPCWSTR /*text*/, LPWSTR* copy)
{
    *copy = nullptr;
    return E_OUTOFMEMORY;
}

void* WINAPI NoTaskMemory(SIZE_T /*sizeBytes*/)
{
    return nullptr;
}

DWORD bitmapError = ERROR_RESOURCE_NAME_NOT_FOUND;

HBITMAP WINAPI NoBitmap(HINSTANCE /*module*/, LPCWSTR /*name*/)
{
    SetLastError(bitmapError);
    return nullptr;
}

// Never a pointer that the module could have handed out.
template <class T>
T* Rubbish()
{
    return reinterpret_cast<T*>(static_cast<UINT_PTR>(0xDEAD));
}

}  // namespace

TEST_CASE("An \"Other user\" tile that cannot be named is left out")
{
    Stage stage;
    const ImportPatch patch(stage.Module().Handle(), "SHStrDupW", &NoRoomForOtherUser);
    stage.Open();
    CHECK(stage.TileTotal() == 1);
    CHECK(stage.log.Has("WARN", "_EnumerateCredentials: Other-user tile init FAILED (not added)"));
    stage.Close();
}

TEST_CASE("A user's tile without room for its fields ends the walk of the user list")
{
    Stage stage;
    const ImportPatch patch(stage.Module().Handle(), "SHStrDupW", &NoRoomForFinish);
    stage.Open();
    CHECK(stage.TileTotal() == 0);
    CHECK(stage.log.Has("INFO", "Initialize: AD tile user='(null)' hr=0x8007000E"));
    CHECK(stage.log.Has(
        "INFO",
        "_EnumerateCredentials: cpus=1 adTiles=0 skippedNonAd=0 totalTiles=0 hr=0x8007000E"));
    stage.Close();
}

TEST_CASE("A field descriptor without memory for it or its label is not handed out")
{
    Stage stage;
    stage.Open();
    auto* descriptor = Rubbish<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR>();
    SUBCASE("for the descriptor")
    {
        const ImportPatch patch(stage.Module().Handle(), "CoTaskMemAlloc", &NoTaskMemory);
        CHECK(stage.Provider()->GetFieldDescriptorAt(1, &descriptor) == E_OUTOFMEMORY);
    }
    SUBCASE("for its label")
    {
        const ImportPatch patch(stage.Module().Handle(), "SHStrDupW", &NoRoomForLabels);
        CHECK(stage.Provider()->GetFieldDescriptorAt(1, &descriptor) == E_OUTOFMEMORY);
    }
    CHECK(descriptor == nullptr);
}

TEST_CASE("A tile image that cannot be loaded is answered with the system's error")
{
    Stage stage;
    const ImportPatch patch(stage.Module().Handle(), "LoadBitmapW", &NoBitmap);
    auto* bitmap = Rubbish<std::remove_pointer_t<HBITMAP>>();
    CHECK(stage.TheTile()->GetBitmapValue(0, &bitmap) ==
          HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    CHECK(bitmap == nullptr);
}

TEST_CASE(
    "An error text that there is no memory for leaves an empty line and gives way to a prompt")
{
    StageOptions options;
    options.advisesProvider = false;
    Stage stage(options);
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    const ImportPatch patch(stage.Module().Handle(), "SHStrDupW", &NoRoomForFailedSignIn);
    const Answer answer = stage.Click();
    CHECK_FALSE(answer.statusText);
    CHECK(answer.statusIcon == CPSI_NONE);
    CHECK(stage.Status().empty());
    stage.Select();
    CHECK(stage.Status() == kKeyPresentPrompt);
}

TEST_CASE("A status text that there is no room to keep is shown all the same")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    const ImportPatch patch(stage.Module().Handle(), "SHStrDupW", &NoRoomForFailedSignIn);
    stage.SignIn();
    CHECK(stage.Status() ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
}

TEST_CASE("A tile image that cannot be loaded is a failure although the system tells no error")
{
    Stage stage;
    bitmapError = ERROR_SUCCESS;
    const ImportPatch patch(stage.Module().Handle(), "LoadBitmapW", &NoBitmap);
    auto* bitmap = Rubbish<std::remove_pointer_t<HBITMAP>>();
    CHECK(stage.TheTile()->GetBitmapValue(0, &bitmap) == E_FAIL);
    CHECK(bitmap == nullptr);
}
