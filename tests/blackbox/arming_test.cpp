// Which of a key's accounts the card is armed for, and how the arming ends.

#include <string>
#include <vector>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

// A sign-in on the tile of CORP\alice with a key that stores these names, with the ids 1, 2, ...
void SignInWith(Stage& stage, const std::vector<const char*>& names)
{
    std::vector<FakeCredential> credentials;
    for (const char* name : names) {
        FakeCredential credential;
        credential.userName = name;
        credential.id = {static_cast<unsigned char>(credentials.size() + 1)};
        credential.hmacSeed = credential.id.front();
        credentials.push_back(credential);
    }
    stage.key.SetCredentials(credentials);
    stage.SignIn();
}

bool Armed(Stage& stage, const char* id)
{
    return stage.service.Count("armorprovision") == 1 &&
           stage.service.LastRequest("armorprovision").find(std::string(R"("credId":")") + id) !=
               std::string::npos;
}

}  // namespace

TEST_CASE("Of several accounts the one that the tile names is armed")
{
    Stage stage;
    SignInWith(stage, {"bob@corp.example", "CORP\\alice"});
    CHECK(
        stage.log.Count(
            "INFO",
            "fidopin(arm): this key holds 2 accounts that can sign in here; using the one this tile names.") ==
        1);
    CHECK(Armed(stage, "Ag=="));
}

TEST_CASE("Of several accounts the one with the tile's short name is armed")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob", "ALICE@corp.example"});
    CHECK(stage.log.Has(
        "INFO",
        "fidopin(arm): this key holds 2 accounts that can sign in here; using the one this tile names."));
    CHECK(Armed(stage, "Ag=="));
}

TEST_CASE("The armed account's own secret is sent")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob", "CORP\\alice"});
    CHECK(stage.service.LastRequest("armorprovision")
              .ends_with("\"authValue\":\"" + FakeKey::HmacBase64(2) + "\"}"));
}

TEST_CASE("A key with several accounts of others arms none of them")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob", "carol@corp.example"});
    CHECK(
        stage.log.Count(
            "ERROR",
            "fidopin(arm): this key holds 2 accounts that can sign in here and none of them is the one this tile names - refusing before anything is armed.") ==
        1);
    CHECK(ArmFailed(
        stage, "0x8007089A",
        "that security key is enrolled to a different account — use the \"Other user\" tile, or the tile for the account the key belongs to"));
    CHECK(stage.service.Count("armorprovision") == 0);
}

TEST_CASE("An unnamed account might be the tile's, so the first is sent")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob", ""});
    CHECK(
        stage.log.Count(
            "WARN",
            "fidopin(arm): this key holds 2 accounts that can sign in here and nothing here can tell which one the tile means; submitting the first and letting the resolved-UPN check rule on it. The \"Other user\" tile offers a choice.") ==
        1);
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("Two accounts with the tile's short name cannot be told apart, so the first is sent")
{
    Stage stage;
    SignInWith(stage, {"alice@other.example", "CORP\\alice"});
    CHECK(stage.log.Has(
        "WARN",
        "fidopin(arm): this key holds 2 accounts that can sign in here and nothing here can tell which one the tile means; submitting the first and letting the resolved-UPN check rule on it. The \"Other user\" tile offers a choice."));
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("A key with one account is armed for it whatever the tile names")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob"});
    CHECK(Armed(stage, "AQ=="));
}

TEST_CASE("The armed card is logged with its account and what was done for it")
{
    Stage stage;
    stage.service.Answers("armorprovision",
                          R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true})");
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "INFO",
            "fidopin(complete): card armed by live FIDO assertion (upn='alice@corp.example', cardSwapped=1, didProvision=0).") ==
        1);
}

TEST_CASE("A refused arming is logged with the reason")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"revoked"})");
    stage.SignIn();
    CHECK(stage.log.Count("ERROR", "fidopin(complete): the sign-in was refused (revoked)") == 1);
}

TEST_CASE("The tile asks for the touch until the key is touched")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    CHECK(stage.Status() == L"Touch your security key now — it should be flashing.");
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("The tile says that it signs in before the card service is asked to arm")
{
    Stage stage;
    Reply held = Reply::Line(R"({"ok":false})");
    held.waits = true;
    stage.service.Answers("armorprovision", held);
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.service.WaitForRequest("armorprovision"));
    CHECK(stage.Status() == L"Signing in…");
    stage.service.Proceed();
    stage.WaitForWorker();
}

TEST_CASE("A key of another account never makes the tile say that it signs in")
{
    Stage stage;
    SignInWith(stage, {"CORP\\bob", "CORP\\carol"});
    for (const std::wstring& status : stage.TheTile().Events().Statuses()) {
        CHECK_FALSE(status == L"Signing in…");
    }
}

TEST_CASE("A failed arming takes a fresh touch at the next click")
{
    Stage stage;
    stage.service.AnswersOnce("armorprovision", Reply::Line(R"({"ok":false})"));
    stage.SignIn();
    stage.TypePin();
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 2);
    CHECK(stage.service.Count("armorprovision") == 2);
}
