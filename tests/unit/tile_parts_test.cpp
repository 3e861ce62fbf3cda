// What the parts of a tile promise beyond the way in which the module uses them today.
#include <doctest.h>

#include "provider/credential.h"
#include "screenless_tile.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using namespace kelvor::test;

TEST_CASE("An empty status line gives LogonUI neither text nor icon")
{
    const ProgramDataRoom programData;
    ScreenlessTile tile;
    tile.status.Set(L"", CPSI_ERROR);
    TaskString text;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    tile.status.TakeOptional(CPGSR_NO_CREDENTIAL_NOT_FINISHED, text.Receive(), &icon);
    CHECK(text.Get() == nullptr);
    CHECK(icon == CPSI_NONE);
    CHECK(tile.status.Empty());
}

TEST_CASE("A text for LogonUI that is there already is kept")
{
    const ProgramDataRoom programData;
    ScreenlessTile tile;
    tile.status.Set(L"late", CPSI_ERROR);
    wchar_t early[] = L"early";
    LPWSTR text = early;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_WARNING;
    tile.status.TakeOptional(CPGSR_NO_CREDENTIAL_NOT_FINISHED, &text, &icon);
    CHECK(text == early);
    CHECK(icon == CPSI_WARNING);
}

TEST_CASE("A finished sign-in keeps its button when the key is gone, and its PIN hidden with one")
{
    ScreenlessTile tile;
    SignInOutcome outcome;
    outcome.response = CPGSR_RETURN_CREDENTIAL_FINISHED;
    static_cast<void>(tile.slot.Finish(std::move(outcome)));
    for (const bool keyPresent : {false, true}) {
        tile.fields.UpdateVisibility(keyPresent);
        CHECK(tile.fields.State(SFI_SUBMIT_BUTTON) == CPFS_DISPLAY_IN_SELECTED_TILE);
        CHECK(tile.fields.State(SFI_FINISH_TEXT) == CPFS_DISPLAY_IN_SELECTED_TILE);
        CHECK(tile.fields.State(SFI_PIN) == CPFS_HIDDEN);
    }
}

TEST_CASE("A tile with a SID but no user name tells the SID and notes that there is no name")
{
    const ProgramDataRoom programData;
    const LogReader log(programData.LogFile());
    const auto tile = ComRef<CCredential>::Adopt(new CCredential(false));
    tile->SetSid(L"S-1-5-21-1-2-3-1001");
    TaskString sid;
    CHECK(tile->GetUserSid(sid.Receive()) == S_OK);
    CHECK((std::wstring_view(sid.Get()) == L"S-1-5-21-1-2-3-1001"));
    CHECK(log.Has("INFO", "GetUserSid: 'S-1-5-21-1-2-3-1001' for user '(none)'"));
}
