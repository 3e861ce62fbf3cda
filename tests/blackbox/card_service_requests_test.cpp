// The request lines that sign-ins send to the card service.

#include <string>

#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

// A world in which the card service owns the card and the tap.
void TurnGateOff(Stage& stage)
{
    stage.settings.SetDword(L"FidoGate", 0);
}

void TurnGateOffUnprovisioned(Stage& stage)
{
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
}

}  // namespace

TEST_CASE("A challenge is asked for with server, relying party and TLS switch")
{
    Stage stage;
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("provchallenge") ==
        R"({"cmd":"provchallenge","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false})");
}

TEST_CASE("An empty relying party is sent as an empty text")
{
    Stage stage;
    stage.settings.Remove(L"FidoRpId");
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("provchallenge") ==
        R"({"cmd":"provchallenge","server":"https://signin.corp.example","rp":"","insecureTls":false})");
}

TEST_CASE("Settings are sent as escaped UTF-8")
{
    Stage stage;
    stage.settings.SetString(L"FidoServerUrl", L"https://s\u00EDgn\"in\\");
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("provchallenge") ==
        "{\"cmd\":\"provchallenge\",\"server\":\"https://s\xC3\xADgn\\\"in\\\\\",\"rp\":\"corp.example\",\"insecureTls\":false}");
}

TEST_CASE("The verdict on a key's credentials is asked for by their Base64 ids")
{
    Stage stage;
    FakeCredential first;
    FakeCredential second;
    second.userName = "CORP\\bob";
    second.id = {0xFB, 0xEF, 0xFF};
    stage.key.SetCredentials({first, second});
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("filteraccounts") ==
        R"({"cmd":"filteraccounts","server":"https://signin.corp.example","insecureTls":false,"credIds":["obLD1A==","++//"]})");
}

TEST_CASE("The arming sends challenge, statement and secret in their order")
{
    Stage stage;
    FakeCredential credential;
    credential.authenticatorData = {1, 2, 3};
    credential.signature = {4, 5};
    stage.key.SetCredentials({credential});
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("armorprovision") ==
        R"({"cmd":"armorprovision","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false,)"
        R"("nonce":"Tk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk5OTk4=",)"
        R"("cdh":"Q0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NDQ0M=",)"
        R"("credId":"obLD1A==","authData":"AQID","signature":"BAU=","authValue":")" +
            FakeKey::HmacBase64(1) + "\"}");
}

TEST_CASE("The development switch is sent with every command of the security key")
{
    Stage stage;
    stage.settings.SetDword(L"FidoDevInsecureTls", 1);
    stage.SignIn();
    for (const char* command : {"provchallenge", "filteraccounts", "armorprovision"}) {
        CAPTURE(command);
        CHECK(stage.service.LastRequest(command).find("\"insecureTls\":true") != std::string::npos);
    }
}

TEST_CASE("Status and disarm are requests of their command alone")
{
    Stage stage;
    TurnGateOffUnprovisioned(stage);
    stage.SignInWhole();
    CHECK(stage.service.LastRequest("status") == R"({"cmd":"status"})");
    CHECK(stage.service.LastRequest("disarm") == R"({"cmd":"disarm"})");
}

TEST_CASE("Provisioning sends the typed PIN before the TLS switch, which stays off")
{
    Stage stage;
    TurnGateOffUnprovisioned(stage);
    stage.settings.SetDword(L"FidoDevInsecureTls", 1);
    stage.SignIn();
    CHECK(
        stage.service.LastRequest("provision") ==
        R"({"cmd":"provision","server":"https://signin.corp.example","rp":"corp.example","authPin":"2468","insecureTls":false})");
}

TEST_CASE("Provisioning without a PIN sends no such member")
{
    Stage stage;
    TurnGateOffUnprovisioned(stage);
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    CHECK(
        stage.service.LastRequest("provision") ==
        R"({"cmd":"provision","server":"https://signin.corp.example","rp":"corp.example","insecureTls":false})");
}

TEST_CASE("A PIN with a quote in it is escaped")
{
    Stage stage;
    TurnGateOffUnprovisioned(stage);
    stage.Select();
    stage.TypePin(L"12\"34");
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.service.LastRequest("provision").find(R"("authPin":"12\"34",)") !=
          std::string::npos);
}
