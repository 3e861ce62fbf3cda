// What LogonUI may call on a tile that has handed its credential over, and on one that has failed.
#include "call_order.h"
#include "field_refresh.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

namespace {

constexpr LONG kSubsystemFailure = static_cast<LONG>(0xC0000321);

}  // namespace

// --- The credential is LogonUI's, and LSA has not answered

TEST_CASE("Selecting a tile that waits for its result prompts again without a PIN field")
{
    Collected stage;
    stage.TheTile().Events().Forget();
    const std::size_t threads = stage.threads.Started();
    CHECK_FALSE(stage.TheTile().Select());
    std::vector<FieldCall> wanted = Refresh(0, 0, 1, 2);
    wanted.push_back({"SetFieldString", 5, 0, kKeyPresentPrompt, 0});
    CHECK(stage.TheTile().Events().Calls() == wanted);
    CHECK(stage.threads.Started() == threads + 1);
}

TEST_CASE("A result that comes after its tile was deselected disarms and is shown")
{
    Collected stage;
    stage.Deselect();
    CHECK(stage.Status().empty());
    stage.Report(kNoSuchUser);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.Status() == kNoSuchUserText);
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    stage.Select();
    CHECK(stage.Status() == kNoSuchUserText);
}

TEST_CASE("A click before the result starts another sign-in that forgets the handover")
{
    Collected stage;
    stage.key.HoldTouch();
    CHECK(stage.Click().IsEmpty());
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.clock.Advance(25'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.log.Messages("WARN").empty());
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(1).pinGiven);
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A PIN typed before a failing result is gone after it")
{
    Collected stage;
    CHECK(stage.TheTile().Type(Stage::kWidePin) == S_OK);
    stage.Report(kNoSuchUser);
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(1).pinGiven);
}

TEST_CASE("A tile that waits for its result has no account to choose")
{
    Collected stage;
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
}

TEST_CASE("Every result disarms the card, also the second of one sign-in")
{
    Collected stage;
    stage.Report(kNoSuchUser);
    stage.Report(0);
    CHECK(stage.service.Count("disarm") == 2);
    CHECK(stage.Status() == kNoSuchUserText);
}

TEST_CASE("A result for an unadvised tile disarms, keeps its text and leaves the sink alone")
{
    Collected stage;
    stage.TheTile().UnAdvise();
    stage.TheTile().Events().Forget();
    stage.Report(kNoSuchUser);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().Text(5) == kNoSuchUserText);
}

TEST_CASE("A result goes to the sink that replaced another")
{
    Collected stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    stage.TheTile().Events().Forget();
    stage.Report(kNoSuchUser);
    CHECK(second->Text(5) == kNoSuchUserText);
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A result reaches a tile that left the list, and one whose provider is gone")
{
    Collected stage;
    stage.EnumerateAnew();
    stage.Report(kNoSuchUser);
    CHECK(stage.Status() == kNoSuchUserText);
    stage.LetProviderGo();
    stage.Report(0);
    CHECK(stage.service.Count("disarm") == 2);
}

TEST_CASE("A tile that is let go without a result asks nobody for a disarm")
{
    Collected stage;
    stage.LetTilesGo();
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CHECK(stage.service.Count("disarm") == 0);
}

TEST_CASE("A provider that is advised anew before the result is told of the next sign-in alone")
{
    Collected stage;
    const ComRef<ProviderEvents> second = ProviderEvents::Make();
    stage.Provider()->Advise(second.Get(), 5);
    stage.Report(kNoSuchUser);
    CHECK(second->Changes().empty());
    stage.SignIn();
    CHECK(second->Changes().size() == 1);
    CHECK(stage.Sink()->Changes().size() == 1);
    stage.LetProviderGo();
    CHECK(second->References() == 1);
}

// --- The sign-in failed and its reason is on the tile

TEST_CASE("A success reported to a failed tile leaves its error")
{
    Failed stage;
    stage.TheTile().Events().Forget();
    stage.Report(0);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().Text(5) == kWrongPin);
}

TEST_CASE("A failure reported to a failed tile replaces its error")
{
    Failed stage;
    stage.Report(kNoSuchUser);
    CHECK(stage.Status() == kNoSuchUserText);
    CHECK(stage.service.Commands().back() == "disarm");
}

TEST_CASE("A failed tile has no account to choose")
{
    Failed stage;
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
}

TEST_CASE("A failed tile that is advised again keeps its error for whoever reads it")
{
    Failed stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    CHECK(second->Calls().empty());
    CHECK(stage.TheTile().Text(5) == kWrongPin);
    stage.TheTile().Select();
    CHECK(second->Calls() == Refresh(1, 0, 1, 2));
    CHECK(stage.log.Has("INFO",
                        "SetSelected: keeping the previous error on screen rather than overwriting "
                        "it."));
    stage.LetTilesGo();
}

TEST_CASE("A failed tile whose provider was unadvised signs in the blocking way")
{
    Failed stage;
    stage.Provider()->UnAdvise();
    stage.TypePin();
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("The error of a tile is not handed down to the tile that takes its place")
{
    Failed stage;
    stage.EnumerateAnew();
    ComRef<ICredentialProviderCredential> anew;
    REQUIRE(stage.Provider()->GetCredentialAt(0, anew.Receive()) == S_OK);
    Tile tile(anew);
    CHECK(tile.Text(5) == L"");
    tile.Select();
    CHECK(tile.Text(5) == kKeyPresentPrompt);
    tile.Deselect();
    CHECK(stage.TheTile().Text(5) == kWrongPin);
}

TEST_CASE("A key that is taken away from a failed tile is noticed after the next selection")
{
    Failed stage;
    stage.key.SetPresent(false);
    CHECK(stage.threads.JoinFrom(0));
    CHECK(stage.Status() == kWrongPin);
    stage.Select();
    stage.Poll();
    CHECK(stage.Status() == kWrongPin);
    CHECK(stage.TheTile().State(2) == CPFS_HIDDEN);
    stage.key.SetPresent(true);
    stage.Poll();
    CHECK(stage.Status() == kKeyPresentPrompt);
}

TEST_CASE("A failed tile is let go like any other")
{
    Failed stage;
    stage.LetProviderGo();
    stage.LetTilesGo();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}
