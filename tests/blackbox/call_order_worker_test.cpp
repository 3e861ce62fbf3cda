// What LogonUI may call on a tile whose worker waits for the touch of the key.
#include "call_order.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

TEST_CASE("No account can be chosen while the worker runs, and the sign-in goes on")
{
    TouchAwaited stage;
    const std::vector<std::size_t> before = Traces(stage);
    CHECK(stage.TheTile().SelectAccount(0) == E_INVALIDARG);
    CHECK(Traces(stage) == before);
    stage.TouchAndWait();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A success that is reported while the worker runs disarms the card and changes nothing")
{
    TouchAwaited stage;
    stage.TheTile().Events().Forget();
    stage.Report(0);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.TouchAndWait();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A failure that is reported while the worker runs is shown, and the sign-in goes on")
{
    TouchAwaited stage;
    stage.Report(kNoSuchUser);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.Status() == kNoSuchUserText);
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    stage.TouchAndWait();
    CHECK(stage.Status() == L"Signing in…");
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A PIN typed after a result still cannot change under the running worker")
{
    TouchAwaited stage;
    stage.Report(kNoSuchUser);
    CHECK(stage.TheTile().Type(L"9999") == S_OK);
    stage.TouchAndWait();
    stage.Collect();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(1).pinGiven);
}

TEST_CASE("A sink that replaces another shows the worker's progress from then on")
{
    TouchAwaited stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    stage.TheTile().Events().Forget();
    CHECK(stage.TheTile().Events().References() == 1);
    stage.TouchAndWait();
    CHECK(second->Statuses() == std::vector<std::wstring>{L"Signing in…", L"Signing in…"});
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A tile unadvised while the worker runs keeps the sign-in and leaves its sink alone")
{
    TouchAwaited stage;
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(stage.TheTile().Events().References() == 1);
    stage.TheTile().Events().Forget();
    stage.TouchAndWait();
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.log.Has("WARN",
                        "status -> 'Signing in…' DROPPED: no credential-events object (not "
                        "advised)."));
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A sign-in that fails after the tile was unadvised keeps its reason for the next sink")
{
    TouchAwaited stage;
    stage.TheTile().UnAdvise();
    stage.key.SetBeginCode(0x31);
    stage.TouchAndWait();
    CHECK(stage.TheTile().Text(5) == kWrongPin);
    CHECK(stage.TheTile().Advise() == S_OK);
    stage.TheTile().Events().Forget();
    stage.TheTile().Select();
    CHECK(stage.TheTile().Events().Statuses().empty());
    CHECK(stage.TheTile().Text(5) == kWrongPin);
}

TEST_CASE("A tile unadvised while the worker is inside its sink waits for nobody")
{
    Stage stage;
    stage.Open();
    const kelvor::UniqueKernelObject inside(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const kelvor::UniqueKernelObject leave(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CredentialEvents& events = stage.TheTile().Events();
    events.SetOnCall([&](const FieldCall& call) {
        if (call == FieldCall{"SetFieldString", 5, 0, kTouchPrompt, 0}) {
            SetEvent(inside.Get());
            WaitForSingleObject(leave.Get(), INFINITE);
        }
    });
    stage.TypePin();
    stage.Click();
    REQUIRE(WaitForSingleObject(inside.Get(), 10'000) == WAIT_OBJECT_0);
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    CHECK(events.References() == 2);
    SetEvent(leave.Get());
    stage.WaitForWorker();
    CHECK(events.References() == 1);
    CHECK(events.Text(5) == kTouchPrompt);
    CHECK(stage.AskTileCount().autoLogon);
    events.SetOnCall({});
}

TEST_CASE("A provider's sink that replaces another is the one that is told, with its own context")
{
    TouchAwaited stage;
    const ComRef<ProviderEvents> second = ProviderEvents::Make();
    CHECK(stage.Provider()->Advise(second.Get(), 77) == S_OK);
    CHECK(stage.Sink()->References() == 1);
    stage.TouchAndWait();
    CHECK(stage.Sink()->Changes().empty());
    REQUIRE(second->Changes().size() == 1);
    CHECK(second->Changes()[0].context == 77);
    stage.LetProviderGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A sink that the provider gets while the worker of the Other user tile runs is told")
{
    StageOptions options = OtherUserTile();
    options.advisesProvider = false;
    TouchAwaited stage(options);
    const ComRef<ProviderEvents> sink = ProviderEvents::Make();
    CHECK(stage.Provider()->Advise(sink.Get(), 78) == S_OK);
    stage.TouchAndWait();
    REQUIRE(sink->Changes().size() == 1);
    CHECK(sink->Changes()[0].context == 78);
    stage.LetProviderGo();
}

TEST_CASE("A provider released without a word while the worker runs has its sink told once")
{
    TouchAwaited stage;
    stage.LetProviderGo(Stage::Farewell::kSilent);
    stage.TouchAndWait();
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.LetTilesGo();
    CHECK(stage.Sink()->References() == 1);
}

TEST_CASE("A tile that leaves the list while its worker runs is not announced for collection")
{
    TouchAwaited stage;
    CHECK(stage.EnumerateAnew().count == 2);
    stage.TouchAndWait();
    CHECK(stage.Sink()->Changes().empty());
    CHECK(stage.log.Has("ERROR",
                        "async submit: no provider events -- the credential cannot be collected."));
    CHECK_FALSE(stage.AskTileCount().autoLogon);
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A sink that was unadvised after its tiles left the list is not called again")
{
    TouchAwaited stage;
    stage.EnumerateAnew();
    CHECK(stage.Provider()->UnAdvise() == S_OK);
    CHECK(stage.Sink()->References() == 1);
    stage.TouchAndWait();
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("The key is not watched while the worker runs, nor after it failed")
{
    TouchAwaited stage;
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.clock.Advance(2'000);
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.key.SetBeginCode(0x31);
    stage.TouchAndWait();
    stage.key.SetPresent(true);
    stage.clock.Advance(2'000);
    CHECK(stage.threads.JoinFrom(0));
    CHECK(stage.Status() == kWrongPin);
}

TEST_CASE("A tile that is left and entered again while its worker runs is as it was")
{
    TouchAwaited stage;
    const std::vector<std::size_t> before = Traces(stage);
    stage.TheTile().Deselect();
    CHECK_FALSE(stage.TheTile().Select());
    CHECK(Traces(stage) == before);
    stage.TouchAndWait();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("Two tiles may sign in at the same time, and each hands over its own credential")
{
    StageOptions options;
    options.users = {User{}, User{.qualifiedName = L"EAST\\alice", .sid = L"S-1-5-21-1-2-3-1002"}};
    TouchAwaited stage(options);
    CHECK(stage.TileAt(1).Click().IsEmpty());
    stage.key.Touch();
    REQUIRE(stage.threads.JoinFrom(0));
    CHECK(stage.Sink()->Changes().size() == 2);
    CHECK(stage.AskTileCount().defaultTile == 0);
    CHECK(stage.TileAt(0).Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.AskTileCount().defaultTile == 1);
    CHECK(stage.TileAt(1).Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}
