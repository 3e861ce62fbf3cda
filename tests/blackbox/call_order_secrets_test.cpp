// Whatever LogonUI calls, and whenever it lets go, nothing secret outlives the tile it was typed
// into or tapped for.
#include "call_order.h"
#include "pumped_call.h"
#include "support/readable_failures.h"
#include "support/secret_stage.h"

using namespace kelvor::test;

namespace {

// The worker waits for the touch; the PIN is its own now.
struct SecretTouchAwaited : SecretStage {
    explicit SecretTouchAwaited(StageOptions options = {}) : SecretStage(std::move(options))
    {
        key.HoldTouch();
        TypeThePin(*this);
        Click();
        REQUIRE(key.WaitForTouchPrompt());
    }
    void TouchAndWait()
    {
        key.Touch();
        WaitForWorker();
        service.WaitForAllClients();
    }
};

void PutBobBesideAlice(Stage& stage)
{
    FakeCredential bob;
    bob.id = {0xB0};
    bob.hmacSeed = kSeedOfBob;
    stage.key.SetCredentials({FakeCredential{}, bob});
}

}  // namespace

TEST_CASE("After everybody let go of a tile whose worker ran on no secret is left")
{
    SecretTouchAwaited stage;
    stage.LetProviderGo();
    stage.LetTilesGo();
    stage.TouchAndWait();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a sign-in whose tile was deselected meanwhile failed no secret is left")
{
    SecretTouchAwaited stage;
    stage.TheTile().Deselect();
    stage.service.Answers("armorprovision", R"({"ok":false})");
    stage.TouchAndWait();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("After a tap on a tile that was unadvised meanwhile no secret is left")
{
    SecretTouchAwaited stage;
    stage.TheTile().UnAdvise();
    stage.TouchAndWait();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed while the worker runs is not kept")
{
    SecretTouchAwaited stage;
    TypeThePin(stage);
    stage.TouchAndWait();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed while a credential waits is gone after a failing result")
{
    SecretStage stage;
    stage.SignInWithThePin();
    TypeThePin(stage);
    CHECK_FALSE(FindInMemory(SecretSearch()).empty());
    stage.Report(kNoSuchUser);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed after the collection is gone with its tile")
{
    SecretStage stage;
    stage.SignInWithThePin();
    stage.Collect();
    TypeThePin(stage);
    stage.LetTilesGo();
    CHECK_FALSE(FindInMemory(SecretSearch()).empty());
    stage.LetProviderGo();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed into a tile that leaves the list is gone with the tile")
{
    SecretStage stage;
    TypeThePin(stage);
    stage.LetTilesGo();
    stage.EnumerateAnew();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed while an account is to be chosen is gone after the deselection")
{
    SecretStage stage(OtherUserTile());
    PutBobBesideAlice(stage);
    stage.SignInWithThePin();
    TypeThePin(stage);
    stage.Deselect();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed while an account is to be chosen is gone after the account's sign-in")
{
    SecretStage stage(OtherUserTile());
    PutBobBesideAlice(stage);
    stage.SignInWithThePin();
    stage.SignInWithThePin();
    CHECK(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A PIN typed during a blocking sign-in is not kept")
{
    SecretStage stage(WithoutProviderSink());
    stage.key.HoldTouch();
    TypeThePin(stage);
    {
        const DuringBlockingSignIn during(stage, [&] { TypeThePin(stage); });
        CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    }
    stage.service.WaitForAllClients();
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("The statement that the server refuses beside one that it takes is not left")
{
    SecretStage stage(OtherUserTile());
    PutBobBesideAlice(stage);
    stage.service.Answers(
        "filteraccounts",
        R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":true,"status":"Eligible"},)"
        R"({"credId":"sA==","eligible":false,"status":"UnknownCredential"}]})");
    stage.SignInWithThePin();
    CHECK(stage.AskTileCount().autoLogon);
    CheckNoSecretIsLeft(stage);
}

TEST_CASE("A tap whose choice was opened on a tile that is let go is not left")
{
    SecretTouchAwaited stage(OtherUserTile());
    PutBobBesideAlice(stage);
    stage.LetTilesGo();
    stage.LetProviderGo();
    stage.TouchAndWait();
    CheckNoSecretIsLeft(stage);
}
