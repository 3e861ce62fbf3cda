#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::FieldCall;
using kelvor::test::kKeyPresentPrompt;
using kelvor::test::kNoKeyPrompt;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const wchar_t* kNfcPrompt =
    L"NFC key detected — enter your PIN, click Sign In, then hold the key on the reader.";
constexpr const wchar_t* kWrongPin =
    L"Sign-in failed: incorrect PIN — check your security key's PIN and try again";

std::size_t LastThread(const Stage& stage)
{
    return stage.threads.Started() - 1;
}

}  // namespace

TEST_CASE("Selecting a tile with a key present asks for the PIN")
{
    Stage stage;
    CHECK_FALSE(stage.TheTile().Select());
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.log.Has("INFO", "SetSelected: tile user='CORP\\alice' otherUser=0 autoLogon=0"));
    stage.Deselect();
}

TEST_CASE("Selecting a tile without a key asks for one")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.Select();
    CHECK(stage.Status() == kNoKeyPrompt);
}

TEST_CASE("Selecting the Other user tile is noted without a name")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.Select();
    CHECK(stage.log.Has("INFO", "SetSelected: tile user='(none-typed)' otherUser=1 autoLogon=0"));
}

TEST_CASE("A key on an NFC reader is not asked for at selection")
{
    Stage stage;
    stage.key.SetNfc(true);
    stage.Select();
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.key.Calls().Count("prov_has_nfc_device") == 0);
}

TEST_CASE("A key that arrives over USB asks for its PIN and shows the fields")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(true);
    stage.Poll();
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.TheTile().Events().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("A key that arrives on an NFC reader is welcomed as one")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(true);
    stage.key.SetNfc(true);
    stage.Poll();
    CHECK(stage.Status() == kNfcPrompt);
}

TEST_CASE("A key that leaves is asked for again and the fields go")
{
    Stage stage;
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
    CHECK(stage.TheTile().Events().State(2) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().State(4) == CPFS_HIDDEN);
}

TEST_CASE("A key that leaves takes the typed PIN with it")
{
    Stage stage;
    stage.TypePin();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.TheTile().Events().Calls("SetFieldString", 2).size() == 1);
    stage.key.SetPresent(true);
    stage.Poll();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(0).pinGiven);
}

TEST_CASE("A key that comes and goes is followed each time")
{
    Stage stage;
    stage.Select();
    stage.Poll();
    stage.TheTile().Events().Forget();
    for (const bool present : {false, true, false}) {
        stage.key.SetPresent(present);
        stage.Poll();
    }
    CHECK(stage.TheTile().Events().Statuses() ==
          std::vector<std::wstring>{kNoKeyPrompt, kKeyPresentPrompt, kNoKeyPrompt});
}

TEST_CASE("A key that stays does not rewrite the prompt")
{
    Stage stage;
    stage.Select();
    stage.Poll();
    stage.TheTile().Events().Forget();
    stage.Poll(3);
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("The watch looks twice a second and speaks on its own thread")
{
    Stage stage;
    stage.Select();
    stage.Poll();
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.clock.Waits() == std::vector<DWORD>{500, 500, 500});
    CHECK(stage.TheTile().Events().Calls().at(0).threadId == stage.threads.IdOf(LastThread(stage)));
}

TEST_CASE("Reselecting after a failed sign-in keeps the error and watches the key")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.Select();
    CHECK(stage.Status() == kWrongPin);
    CHECK(stage.log.Has("INFO",
                        "SetSelected: keeping the previous error on screen rather than overwriting "
                        "it."));
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
}

TEST_CASE("Deselecting takes the error of a failed sign-in off the tile")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.Deselect();
    CHECK(stage.Status().empty());
    stage.Select();
    CHECK(stage.Status() == kKeyPresentPrompt);
}

TEST_CASE("Selecting a tile whose credential waits logs on by itself and changes nothing")
{
    Stage stage;
    stage.SignIn();
    stage.TheTile().Events().Forget();
    const std::size_t threads = stage.threads.Started();
    CHECK(stage.TheTile().Select());
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.threads.Started() == threads);
    CHECK(stage.log.Has("INFO", "SetSelected: tile user='CORP\\alice' otherUser=0 autoLogon=1"));
    CHECK(stage.log.Has("INFO",
                        "SetSelected: a sign-in is in flight or awaiting collection - leaving the "
                        "tile as it is."));
}

TEST_CASE("Selecting a tile whose sign-in is in flight changes nothing")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.TheTile().Events().Forget();
    CHECK_FALSE(stage.TheTile().Select());
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("Deselecting a tile whose sign-in is in flight lets the sign-in go on")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.TheTile().Events().Forget();
    stage.TheTile().Deselect();
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("Deselecting a tile whose credential waits keeps the credential")
{
    Stage stage;
    stage.SignIn();
    stage.Deselect();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Deselecting ends the watch and empties PIN and status in their order")
{
    Stage stage;
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.Deselect();
    CHECK(stage.threads.HasEnded(LastThread(stage)));
    const std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    REQUIRE(calls.size() >= 2);
    CHECK(calls[calls.size() - 2] == FieldCall{"SetFieldString", 2, 0, L"", 0});
    CHECK(calls[calls.size() - 1] == FieldCall{"SetFieldString", 5, 0, L"", 0});
}

TEST_CASE("A PIN typed before deselecting is gone after it")
{
    Stage stage;
    stage.TypePin();
    stage.Deselect();
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(0).pinGiven);
}

TEST_CASE("A tile selected twice has one watch")
{
    Stage stage;
    stage.Select();
    const std::size_t threads = stage.threads.Started();
    stage.Select();
    CHECK(stage.threads.Started() == threads);
}

TEST_CASE("A tile selected again after a deselection has a new watch")
{
    Stage stage;
    stage.Select();
    stage.Deselect();
    stage.Select();
    CHECK_FALSE(stage.threads.HasEnded(LastThread(stage)));
}

TEST_CASE("A watch that cannot start leaves the prompt and says nothing")
{
    Stage stage;
    stage.Open();
    stage.log.Forget();
    stage.threads.Calls().FailAfter("CreateThread", 1, ERROR_NOT_ENOUGH_MEMORY);
    stage.Select();
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.threads.Calls().Count("CreateThread") == 2);
    CHECK(stage.log.Lines().size() == 2);
}

TEST_CASE("A watch without its stop event does not start")
{
    Stage stage;
    stage.Open();
    stage.pipe.Calls().Fail("CreateEventW", ERROR_NOT_ENOUGH_MEMORY);
    stage.Select();
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.threads.Started() == 1);
    stage.pipe.Calls().Succeed("CreateEventW");
}

TEST_CASE("A watch that could not start is started by the next selection")
{
    Stage stage;
    stage.Open();
    stage.threads.Calls().FailAfter("CreateThread", 1, ERROR_NOT_ENOUGH_MEMORY);
    stage.Select();
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
}
