// What LogonUI may call on a selected tile, with and without a key, while its key is watched.
#include "call_order.h"
#include "field_refresh.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

namespace {

// A selected tile without a key. The watch has had its first look.
struct WithoutKey : Stage {
    WithoutKey()
    {
        key.SetPresent(false);
        Select();
        Poll();
    }
};

// A selected tile with a key and a typed PIN. The watch has had its first look.
struct WithPin : Stage {
    WithPin()
    {
        TypePin();
        Poll();
        watch = threads.Started() - 1;
    }
    std::size_t watch = 0;
};

}  // namespace

TEST_CASE("A PIN typed before the key is there counts once it came")
{
    WithoutKey stage;
    stage.TypePin();
    stage.key.SetPresent(true);
    stage.Poll();
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("A click without a key keeps PIN and button away until the key has been asked")
{
    WithoutKey stage;
    stage.key.HoldTouch();
    stage.TheTile().Events().Forget();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    calls.resize(4);
    CHECK(calls == Refresh(0, 0, 0, 2));
    stage.key.SetBeginCode(0x36);
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("A key that comes between the selection and the watch's first look is its baseline")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.TheTile().Events().SetOnCall([&](const FieldCall& call) {
        if (call == FieldCall{"SetFieldString", 5, 0, kNoKeyPrompt, 0}) {
            stage.key.SetPresent(true);
        }
    });
    stage.Select();
    stage.Poll(2);
    CHECK(stage.Status() == kNoKeyPrompt);
    stage.key.SetPresent(false);
    stage.Poll();
    stage.key.SetPresent(true);
    stage.Poll();
    CHECK(stage.Status() == kKeyPresentPrompt);
    stage.TheTile().Events().SetOnCall({});
}

TEST_CASE("Selecting a selected tile again renews its prompt and keeps the PIN")
{
    WithPin stage;
    stage.TheTile().Events().Forget();
    CHECK_FALSE(stage.TheTile().Select());
    std::vector<FieldCall> wanted = Refresh(1, 0, 1, 2);
    wanted.push_back({"SetFieldString", 5, 0, kKeyPresentPrompt, 0});
    CHECK(stage.TheTile().Events().Calls() == wanted);
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("A selected tile has no account to choose")
{
    WithPin stage;
    const std::vector<std::size_t> before = Traces(stage);
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
    CHECK(Traces(stage) == before);
}

TEST_CASE("A result for a selected tile empties its PIN and leaves its watch")
{
    WithPin stage;
    stage.Report(kNoSuchUser);
    CHECK(stage.Status() == kNoSuchUserText);
    CHECK_FALSE(stage.threads.HasEnded(stage.watch));
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(0).pinGiven);
}

TEST_CASE("A success for a selected tile disarms the card and leaves PIN and prompt")
{
    WithPin stage;
    stage.TheTile().Events().Forget();
    stage.Report(0);
    CHECK(stage.service.Commands() == std::vector<std::string>{"disarm"});
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("A sink that replaces another is what the running watch speaks to")
{
    WithPin stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(second->Text(5) == kNoKeyPrompt);
    CHECK(second->State(2) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().Events().References() == 1);
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("An unadvised tile follows the key no more and touches its sink no more")
{
    WithPin stage;
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.threads.HasEnded(stage.watch));
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.Deselect();
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().Text(5) == L"");
    CHECK(
        stage.log.Has("WARN", "status -> '' DROPPED: no credential-events object (not advised)."));
}

TEST_CASE("Unadvising leaves the typed PIN, and only a selection starts the watch again")
{
    WithPin stage;
    stage.TheTile().UnAdvise();
    stage.TheTile().Advise();
    const std::size_t threads = stage.threads.Started();
    CHECK(threads == stage.watch + 1);
    stage.Select();
    CHECK(stage.threads.Started() == threads + 1);
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("Deselecting after unadvising wipes the PIN")
{
    WithPin stage;
    stage.TheTile().UnAdvise();
    stage.Deselect();
    stage.TheTile().Advise();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(0).pinGiven);
}

TEST_CASE("Deselecting twice is deselecting once")
{
    WithPin stage;
    stage.Deselect();
    const std::vector<FieldCall> once = stage.TheTile().Events().Calls();
    stage.TheTile().Events().Forget();
    stage.TheTile().Deselect();
    const std::vector<FieldCall> again = stage.TheTile().Events().Calls();
    CHECK(again == std::vector<FieldCall>(once.end() - static_cast<std::ptrdiff_t>(again.size()),
                                          once.end()));
    CHECK(stage.threads.HasEnded(stage.watch));
}

TEST_CASE("Unadvising the provider leaves the watch of a selected tile")
{
    WithPin stage;
    CHECK(stage.Provider()->UnAdvise() == S_OK);
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
}

TEST_CASE("A provider that is gone leaves the watch of a selected tile")
{
    WithPin stage;
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
    stage.LetTilesGo();
    CHECK(stage.threads.HasEnded(stage.watch));
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("A selected tile that is no longer in the list is watched until its own farewell")
{
    WithPin stage;
    stage.EnumerateAnew();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
    stage.LetTilesGo();
    CHECK(stage.threads.HasEnded(stage.watch));
}

TEST_CASE("Selecting one tile leaves the watch of another")
{
    WithPin stage;
    stage.TileAt(1).Select();
    CHECK_FALSE(stage.threads.HasEnded(stage.watch));
    stage.Deselect();
    CHECK(stage.threads.HasEnded(stage.watch));
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.TileAt(1).Events().Text(5) == kNoKeyPrompt);
    stage.TileAt(1).Deselect();
}
