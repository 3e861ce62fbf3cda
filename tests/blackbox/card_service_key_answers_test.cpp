// What the card service's answers about a security key lead to: provchallenge, filteraccounts,
// armorprovision.

#include <string>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const char* kNonce = "Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=";
constexpr const char* kHash = "Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=";

bool OffersAll(Stage& stage, const std::string& reason)
{
    return stage.log.Has(
               "WARN",
               "fidopin(begin): could not check which of this key's 1 account(s) can sign in here (" +
                   reason + ") - offering all of them.") &&
           stage.service.Count("armorprovision") == 1;
}

}  // namespace

TEST_CASE("A refused challenge gives the service's words")
{
    Stage stage;
    stage.service.Answers("provchallenge", R"({"ok":false,"error":"no licence \u2014 ask IT"})");
    stage.SignIn();
    CHECK(stage.log.Count("WARN", "softcardctl: provchallenge refused (no licence — ask IT)") == 1);
    CHECK(stage.log.Count("ERROR", "fidopin(begin): challenge failed (no licence — ask IT)") == 1);
    CHECK(ArmFailed(stage, "0x80070005", "no licence — ask IT"));
}

TEST_CASE("A challenge that is not clearly granted is refused, with words of ours when it has none")
{
    Stage stage;
    stage.service.Answers("provchallenge", R"({"ok":"yes","error":""})");
    stage.SignIn();
    CHECK(stage.log.Has(
        "WARN",
        "softcardctl: provchallenge refused (the enrollment server did not issue a challenge)"));
    CHECK(ArmFailed(stage, "0x80070005", "the enrollment server did not issue a challenge"));
}

TEST_CASE("An answer that is no object is a refused challenge")
{
    Stage stage;
    stage.service.Answers("provchallenge", R"(["ok",true])");
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80070005", "the enrollment server did not issue a challenge"));
}

TEST_CASE("A challenge with an empty nonce is none")
{
    Stage stage;
    stage.service.Answers("provchallenge",
                          std::string(R"({"ok":true,"nonce":"","cdh":")") + kHash + "\"}");
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "ERROR",
            "fidopin(begin): challenge failed (the enrollment server returned no challenge nonce)") ==
        1);
    CHECK(ArmFailed(stage, "0x80004005", "the enrollment server returned no challenge nonce"));
}

TEST_CASE("A challenge whose nonce is no text is none")
{
    Stage stage;
    stage.service.Answers("provchallenge",
                          std::string(R"({"ok":true,"nonce":5,"cdh":")") + kHash + "\"}");
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80004005", "the enrollment server returned no challenge nonce"));
}

TEST_CASE("A challenge without the hash to sign comes from an outdated service")
{
    Stage stage;
    stage.service.Answers("provchallenge", std::string(R"({"ok":true,"nonce":")") + kNonce + "\"}");
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR",
              "softcardctl: provchallenge returned no 'cdh' - the service predates CSR binding.") ==
          1);
    CHECK(stage.log.Has(
        "ERROR",
        "fidopin(begin): challenge failed (the sign-in service on this PC is out of date — contact IT to update it)"));
    CHECK(ArmFailed(stage, "0x80004005",
                    "the sign-in service on this PC is out of date — contact IT to update it"));
}

TEST_CASE("A good challenge is logged with the relying party that the service named")
{
    Stage stage;
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "INFO",
            "softcardctl: enrollment challenge relayed (rpId='corp.example'); the tap signs the bound challenge, not the nonce.") ==
        1);
}

TEST_CASE("A good challenge without a relying party is logged with an empty one")
{
    Stage stage;
    stage.service.Answers("provchallenge", std::string(R"({"cdh":")") + kHash +
                                               R"(","x":[1,{}],"nonce":")" + kNonce +
                                               R"(","ok":true})");
    stage.SignIn();
    CHECK(stage.log.Has(
        "INFO",
        "softcardctl: enrollment challenge relayed (rpId=''); the tap signs the bound challenge, not the nonce."));
}

TEST_CASE("A verdict is logged with how many credentials can sign in")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.log.Count("INFO",
                          "softcardctl: 1 of 1 credential(s) on this key can sign in here.") == 1);
}

TEST_CASE("Without a server accounts are not filtered")
{
    Stage stage;
    stage.settings.Remove(L"FidoServerUrl");
    stage.SignIn();
    CHECK(stage.log.Count("INFO",
                          "softcardctl: no server configured - accounts cannot be filtered.") == 1);
    CHECK(stage.service.Count("filteraccounts") == 0);
    CHECK(OffersAll(stage, "no sign-in server is configured"));
}

TEST_CASE("A verdict without results is invalid")
{
    Stage stage;
    stage.service.Answers("filteraccounts", R"({"ok":true})");
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR",
              "softcardctl: filteraccounts reported success but carried no results array.") == 1);
    CHECK(OffersAll(
        stage,
        "the card service gave an invalid answer while checking this key's accounts — try again"));
}

TEST_CASE("A verdict whose results do not end is invalid")
{
    Stage stage;
    stage.service.Answers("filteraccounts", R"({"ok":true,"results":[{"credId":"obLD1A=="})");
    stage.SignIn();
    CHECK(OffersAll(
        stage,
        "the card service gave an invalid answer while checking this key's accounts — try again"));
}

TEST_CASE("A verdict with more rows than credentials is discarded")
{
    Stage stage;
    stage.service.Answers(
        "filteraccounts",
        R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":true,"status":"Ok"},{}]})");
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "ERROR",
            "softcardctl: filteraccounts answered for 2 of 1 credential(s) - discarding the whole verdict.") ==
        1);
    CHECK(OffersAll(stage, "the accounts on this key were only partly checked"));
}

TEST_CASE("A verdict row without the credential's id is incomplete")
{
    Stage stage;
    stage.service.Answers("filteraccounts",
                          R"({"ok":true,"results":[{"eligible":true,"status":"Ok"}]})");
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR",
              "softcardctl: filteraccounts returned a row with no credId/eligible/status.") == 1);
    CHECK(OffersAll(
        stage,
        "the card service gave an incomplete answer while checking this key's accounts — try again"));
}

TEST_CASE("A verdict row without a boolean verdict is incomplete")
{
    Stage stage;
    stage.service.Answers(
        "filteraccounts",
        R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":"true","status":"Ok"}]})");
    stage.SignIn();
    CHECK(OffersAll(
        stage,
        "the card service gave an incomplete answer while checking this key's accounts — try again"));
}

TEST_CASE("A verdict row with an empty status is incomplete")
{
    Stage stage;
    stage.service.Answers(
        "filteraccounts",
        R"({"ok":true,"results":[{"credId":"obLD1A==","eligible":true,"status":""}]})");
    stage.SignIn();
    CHECK(OffersAll(
        stage,
        "the card service gave an incomplete answer while checking this key's accounts — try again"));
}

TEST_CASE("A declined verdict gives the service's words")
{
    Stage stage;
    stage.service.Answers("filteraccounts", R"({"ok":false,"error":"server down"})");
    stage.SignIn();
    CHECK(stage.log.Count("WARN", "softcardctl: filteraccounts declined (server down)") == 1);
    CHECK(OffersAll(stage, "server down"));
}

TEST_CASE("A verdict that is not clearly given is declined, with words of ours when it has none")
{
    Stage stage;
    stage.service.Answers("filteraccounts", R"({"ok":"yes"})");
    stage.SignIn();
    CHECK(stage.log.Has(
        "WARN",
        "softcardctl: filteraccounts declined (the accounts on this key could not be checked)"));
    CHECK(OffersAll(stage, "the accounts on this key could not be checked"));
}

TEST_CASE("An armed card is logged with its account and what was done for it")
{
    Stage stage;
    stage.service.Answers(
        "armorprovision",
        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true,"didProvision":true})");
    stage.SignIn();
    CHECK(
        stage.log.Count(
            "INFO",
            "softcardctl: card ARMED (upn='alice@corp.example', cardSwapped=1, didProvision=1).") ==
        1);
}

TEST_CASE("An armed card of which nothing else is said was neither swapped nor set up")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":"alice@corp.example"})");
    stage.SignIn();
    CHECK(stage.log.Has(
        "INFO",
        "softcardctl: card ARMED (upn='alice@corp.example', cardSwapped=0, didProvision=0)."));
}

TEST_CASE("A card armed for nobody is a broken answer")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":true,"upn":""})");
    stage.SignIn();
    CHECK(stage.log.Count("ERROR",
                          "softcardctl: the card service armed a card but named no account.") == 1);
    CHECK(
        ArmFailed(stage, "0x80004005", "the card service did not say which account it signed in"));
}

TEST_CASE("A refused arming gives the service's words")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"revoked"})");
    stage.SignIn();
    CHECK(stage.log.Count("WARN", "softcardctl: arm refused (revoked)") == 1);
    CHECK(ArmFailed(stage, "0x80070005", "revoked"));
}

TEST_CASE("A refused arming with an empty explanation has words of ours")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":""})");
    stage.SignIn();
    CHECK(stage.log.Has("WARN", "softcardctl: arm refused (the security key was not authorized)"));
    CHECK(ArmFailed(stage, "0x80070005", "the security key was not authorized"));
}

TEST_CASE("An arming that is neither granted nor refused is an invalid answer")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"ok":"true","upn":"alice@corp.example"})");
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80004005",
                    "the card service gave an invalid answer while signing you in — try again"));
}

TEST_CASE("An answer to the arming that does not speak of success is invalid")
{
    Stage stage;
    stage.service.Answers("armorprovision", R"({"upn":"alice@corp.example"})");
    stage.SignIn();
    CHECK(ArmFailed(stage, "0x80004005",
                    "the card service gave an invalid answer while signing you in — try again"));
}
