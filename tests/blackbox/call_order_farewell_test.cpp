// LogonUI lets go of everything, in any order, at any moment of a sign-in. The stage's own end
// checks that nothing is left.
#include <functional>
#include <memory>
#include <string>

#include "call_order.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;
using Farewell = Stage::Farewell;

namespace {

struct Moment {
    std::string name;
    std::unique_ptr<Stage> (*reach)();
};

template <class Reached>
std::unique_ptr<Stage> Reach()
{
    return std::make_unique<Reached>();
}

struct Opened : Stage {
    Opened() { Open(); }
};

struct Watched : Stage {
    Watched()
    {
        TypePin();
        Poll();
    }
};

struct ProbeUnanswered : Stage {
    ProbeUnanswered()
    {
        directory.Hold();
        Select();
        REQUIRE(directory.WaitUntilHeld(10'000));
    }
};

struct ServiceSilent : Stage {
    ServiceSilent()
    {
        Reply reply = Reply::Line(R"({"ok":true})");
        reply.waits = true;
        service.Answers("provchallenge", reply);
        TypePin();
        Click();
        REQUIRE(service.WaitForRequest("provchallenge"));
    }
};

const Moment kMoments[] = {
    {"before any selection", &Reach<Opened>},
    {"while the key is watched", &Reach<Watched>},
    {"while the directory is asked", &Reach<ProbeUnanswered>},
    {"while the card service is asked", &Reach<ServiceSilent>},
    {"while the worker waits for the touch", &Reach<TouchAwaited>},
    {"while a credential waits", &Reach<Parked>},
    {"while LSA is asked", &Reach<Collected>},
    {"after a failure", &Reach<Failed>},
    {"while an account is to be chosen", &Reach<ChoiceAwaited>},
};

std::vector<CredentialEvents*> TileSinks(Stage& stage)
{
    std::vector<CredentialEvents*> sinks;
    for (std::size_t index = 0; index < stage.TileTotal(); ++index) {
        sinks.push_back(&stage.TileAt(index).Events());
    }
    return sinks;
}

}  // namespace

TEST_CASE("Tiles and provider may be let go at any moment, in either order")
{
    for (const Moment& moment : kMoments) {
        for (const bool providerFirst : {false, true}) {
            CAPTURE(moment.name);
            CAPTURE(providerFirst);
            const std::unique_ptr<Stage> stage = moment.reach();
            const auto sinks = TileSinks(*stage);
            const std::size_t changes = stage->Sink()->Changes().size();
            if (providerFirst) {
                stage->LetProviderGo();
            }
            stage->LetTilesGo();
            stage->LetProviderGo();
            for (CredentialEvents* sink : sinks) {
                sink->Forget();
            }
            stage->Close();
            for (CredentialEvents* sink : sinks) {
                CHECK(sink->Calls().empty());
            }
            CHECK(stage->Sink()->Changes().size() == changes);
        }
    }
}

TEST_CASE("A provider may be let go without a word at any moment")
{
    for (const Moment& moment : kMoments) {
        CAPTURE(moment.name);
        const std::unique_ptr<Stage> stage = moment.reach();
        stage->LetProviderGo(Farewell::kSilent);
        stage->LetTilesGo();
        stage->Close();
    }
}

TEST_CASE("Tiles may be let go without a word at any moment, and their sinks stay counted")
{
    for (const Moment& moment : kMoments) {
        CAPTURE(moment.name);
        const std::unique_ptr<Stage> stage = moment.reach();
        const auto sinks = TileSinks(*stage);
        stage->LetTilesGo(Farewell::kSilent);
        stage->LetProviderGo(Farewell::kSilent);
        stage->Close();
        for (CredentialEvents* sink : sinks) {
            CHECK(sink->References() == 1);
            sink->Release();  // the reference that went with the tile
        }
    }
}

TEST_CASE("A watched tile ends with whoever lets it go last, and its watch with it")
{
    Stage stage;
    stage.TileAt(1).UnAdvise();  // nobody else would give its sink back
    stage.Select();
    stage.WaitForProbe();
    CredentialEvents* const sink = &stage.TheTile().Events();
    const std::size_t watch = stage.threads.Started() - 1;
    const ComRef<CredentialEvents> kept(sink);
    stage.LetTilesGo(Farewell::kSilent);
    CHECK_FALSE(stage.threads.HasEnded(watch));
    stage.LetProviderGo(Farewell::kSilent);
    CHECK(stage.threads.HasEnded(watch));
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    sink->Release();  // the reference that went with the tile
}

TEST_CASE("The last Release of a watched tile says that nobody holds it")
{
    Stage stage;
    stage.TileAt(1).UnAdvise();  // nobody else would give its sink back
    stage.Select();
    stage.LetProviderGo();
    ICredentialProviderCredential* const tile = stage.TheTile().Get();
    tile->AddRef();
    CHECK(stage.TheTile().UnAdvise() == S_OK);
    stage.TheTile().Select();
    stage.LetTilesGo(Farewell::kSilent);
    CHECK(tile->Release() == 0);
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("LogonUI that lets go of its tile inside a call of the watch ends it with the watch")
{
    Stage stage;
    stage.TileAt(1).UnAdvise();  // nobody else would give its sink back
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    stage.LetProviderGo();
    const std::size_t watch = stage.threads.Started() - 1;
    const ComRef<CredentialEvents> sink(&stage.TheTile().Events());
    bool letGo = false;
    HRESULT meanwhile = S_OK;
    sink->SetOnCall([&](const FieldCall& call) {
        if (call.threadId == stage.threads.IdOf(watch) && !letGo) {
            letGo = true;
            stage.LetTilesGo(Farewell::kSilent);
            meanwhile = stage.Module().CanUnloadNow();
        }
    });
    stage.key.SetPresent(false);
    REQUIRE(stage.clock.EndWait(500));
    REQUIRE(stage.threads.Join(watch));
    CHECK(letGo);
    CHECK(meanwhile == S_FALSE);  // the watch still holds the tile
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CHECK(sink->References() == 2);
    sink->Release();  // the reference that went with the tile
}

TEST_CASE("A worker whose tile nobody holds any more finishes and takes the tile with it")
{
    TouchAwaited stage;
    stage.LetTilesGo();
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    stage.key.Touch();
    REQUIRE(stage.threads.JoinFrom(0));
    CHECK(stage.log.Has("ERROR",
                        "async submit: no provider events -- the credential cannot be collected."));
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("A worker that fails after its tile was let go asks nobody and takes the tile with it")
{
    TouchAwaited stage;
    stage.LetTilesGo();
    stage.LetProviderGo();
    stage.key.SetBeginCode(0x31);
    stage.key.Touch();
    REQUIRE(stage.threads.JoinFrom(0));
    CHECK(stage.log.Has("INFO",
                        "async submit: no credential produced (hr=0x00000000) -- the reason is on "
                        "the tile and the user can submit again."));
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("LogonUI that lets go of its tile inside CredentialsChanged ends it with the worker")
{
    Stage stage;
    stage.Open();
    stage.Sink()->SetOnChange([&] {
        stage.LetTilesGo();
        stage.LetProviderGo();
    });
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.threads.JoinFrom(0));
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    stage.Sink()->SetOnChange({});
}

TEST_CASE("One tile that LogonUI still holds keeps the module loaded after the provider")
{
    Stage stage;
    stage.Open();
    ComRef<ICredentialProviderCredential> kept(stage.TileAt(1).Get());
    stage.LetProviderGo();
    stage.LetTilesGo();
    CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    CHECK(Tile(kept).Text(1) == L"Other user — sign in with security key");
    kept = {};
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}
