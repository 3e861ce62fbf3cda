// Tiles that cannot be made: LogonUI gets what was built and the log says what is missing.
#include <doctest.h>
#include <shlwapi.h>

#include <cwchar>

#include "support/stage.h"

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
