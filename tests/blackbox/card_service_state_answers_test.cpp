// What the card service's answers about its card lead to: status, provision, disarm.

#include <string>

#include "arm_failure.h"
#include "handle.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

void TurnGateOff(Stage& stage)
{
    stage.settings.SetDword(L"FidoGate", 0);
}

// A sign-in that has to set the PC up first, with this answer to it.
void SignInProvisioning(Stage& stage, const char* answer)
{
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.service.Answers("provision", answer);
    stage.SignIn();
}

// Whether a sign-in that had to provision the PC ended with this result and reason.
bool ProvisionFailed(Stage& stage, const std::string& result, const std::string& reason)
{
    return stage.log.Has("ERROR", "GetSerialization: JIT provisioning failed hr=" + result + " (" +
                                      reason + ")") &&
           stage.Status() == Wide("Couldn't set up sign-in: " + reason);
}

// Whether the sign-in went on without the service's status, for this reason.
bool StatusFailed(Stage& stage, const std::string& reason)
{
    return stage.log.HasBeginning(
        "WARN", "GetSerialization: could not ask the card service whether this PC is set up (" +
                    reason + ") - falling back to the reader probe, which says ");
}

// Ends the three seconds that the module waits for the answer to a disarm; 1 when it did wait so.
DWORD WINAPI EndDisarmWait(void* stage)
{
    Stage& whole = *static_cast<Stage*>(stage);
    const bool ended = whole.clock.EndWait(3'000);
    whole.service.Proceed();
    return ended ? 1 : 0;
}

}  // namespace

TEST_CASE("The service's status is logged with both its flags")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":true,"provisioned":true,"cardHidden":true})");
    stage.SignIn();
    CHECK(stage.log.Count("INFO", "softcardctl: status - provisioned=1 cardHidden=1.") == 1);
}

TEST_CASE("A status without the hiding of cards means that none are hidden")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignIn();
    CHECK(stage.log.Has("INFO", "softcardctl: status - provisioned=0 cardHidden=0."));
}

TEST_CASE("A status that does not say whether the PC is set up is out of date")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":true})");
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR",
              "softcardctl: status answered without 'provisioned' - the service is out of date.") ==
          1);
    CHECK(StatusFailed(stage,
                       "the sign-in service on this PC is out of date — contact IT to update it"));
}

TEST_CASE("A refused status gives the service's words")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":false,"error":"not now"})");
    stage.SignIn();
    CHECK(stage.log.Count("WARN", "softcardctl: status refused (not now)") == 1);
    CHECK(StatusFailed(stage, "not now"));
}

TEST_CASE("A status that is not clearly granted is refused, with words of ours when it has none")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", R"({"ok":"true","provisioned":true})");
    stage.SignIn();
    CHECK(stage.log.Count(
              "WARN",
              "softcardctl: status refused (the card service could not report its state)") == 1);
    CHECK(StatusFailed(stage, "the card service could not report its state"));
}

TEST_CASE("A status that nobody answers is unknown")
{
    Stage stage;
    TurnGateOff(stage);
    stage.service.Answers("status", Reply::Silence());
    stage.Select();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.clock.EndWait(10'000));
    stage.WaitForWorker();
    CHECK(StatusFailed(stage, "the card service did not respond"));
}

TEST_CASE("A provisioned PC is logged with the account")
{
    Stage stage;
    SignInProvisioning(stage, R"({"ok":true,"upn":"alice@corp.example"})");
    CHECK(
        stage.log.Count(
            "INFO",
            "softcardctl: card provisioned and FIDO-armed for 'alice@corp.example' (armed from that tap).") ==
        1);
}

TEST_CASE("A PC provisioned for nobody is a broken answer")
{
    Stage stage;
    SignInProvisioning(stage, R"({"ok":true,"upn":7})");
    CHECK(stage.log.Count("ERROR",
                          "softcardctl: provisioning reported success but named no account.") == 1);
    CHECK(ProvisionFailed(stage, "0x80004005",
                          "the card service did not say which account it set up"));
}

TEST_CASE("A refused provisioning gives the service's words")
{
    Stage stage;
    SignInProvisioning(stage, R"({"ok":false,"error":"quota"})");
    CHECK(stage.log.Count("WARN", "softcardctl: provisioning refused (quota)") == 1);
    CHECK(ProvisionFailed(stage, "0x80070005", "quota"));
}

TEST_CASE("A refused provisioning without an explanation has words of ours")
{
    Stage stage;
    SignInProvisioning(stage, R"({"ok":false})");
    CHECK(stage.log.Has("WARN", "softcardctl: provisioning refused (provisioning failed)"));
    CHECK(ProvisionFailed(stage, "0x80070005", "provisioning failed"));
}

TEST_CASE("A provisioning that is neither granted nor refused is malformed")
{
    Stage stage;
    SignInProvisioning(stage, R"({"ok":"yes"})");
    CHECK(stage.log.Count("ERROR", "softcardctl: malformed provisioning response") == 1);
    CHECK(ProvisionFailed(
        stage, "0x80004005",
        "the card service gave an invalid answer while setting up this PC — try again"));
}

TEST_CASE("An answer to the provisioning that does not speak of success is malformed")
{
    Stage stage;
    SignInProvisioning(stage, R"({"upn":"alice@corp.example"})");
    CHECK(ProvisionFailed(
        stage, "0x80004005",
        "the card service gave an invalid answer while setting up this PC — try again"));
}

TEST_CASE("A disarmed card is logged with the gate that was open")
{
    Stage stage;
    stage.SignInWhole();
    CHECK(stage.log.Count(
              "INFO", "softcardctl: disarm ok - the card can no longer sign (gate was open).") ==
          1);
}

TEST_CASE("A disarm that does not say whether the gate was open means that it was closed")
{
    Stage stage;
    stage.service.Answers("disarm", R"({"ok":true,"wasArmed":"true"})");
    stage.SignInWhole();
    CHECK(stage.log.Has(
        "INFO", "softcardctl: disarm ok - the card can no longer sign (gate was already closed)."));
}

TEST_CASE("A refused disarm is only logged")
{
    Stage stage;
    stage.service.Answers("disarm", R"({"ok":false,"error":"busy"})");
    stage.SignInWhole();
    CHECK(
        stage.log.Count(
            "WARN",
            "softcardctl: disarm refused (busy) - an out-of-date service? The sign gate will close on its own timeout.") ==
        1);
}

TEST_CASE("A disarm that is not clearly granted is refused, with words of ours when it has none")
{
    Stage stage;
    stage.service.Answers("disarm", R"({})");
    stage.SignInWhole();
    CHECK(stage.log.Has(
        "WARN",
        "softcardctl: disarm refused (the card service refused to disarm) - an out-of-date service? The sign gate will close on its own timeout."));
}

TEST_CASE("A disarm that finds no service is logged twice and changes nothing")
{
    Stage stage;
    stage.SignIn();
    stage.Collect();
    stage.service.Stop();
    stage.Report(0);
    CHECK(stage.log.Has("ERROR",
                        "softcardctl: pipe not found - KelvorSoftCard service not running?"));
    CHECK(
        stage.log.Count(
            "WARN",
            "softcardctl: disarm did not reach the card service (the card service is not running) - the sign gate will close on its own idle timeout instead.") ==
        1);
}

TEST_CASE("A disarm is waited for by three seconds")
{
    Stage stage;
    Reply late = Reply::HangUp();
    late.waits = true;
    stage.service.Answers("disarm", late);
    stage.SignIn();
    stage.Collect();
    // The report blocks this thread, so another one lets the time pass.
    const UniqueKernelObject timekeeper(
        CreateThread(nullptr, 0, &EndDisarmWait, &stage, 0, nullptr));
    stage.Report(0);
    WaitForSingleObject(timekeeper.Get(), INFINITE);
    DWORD ended = 0;
    GetExitCodeThread(timekeeper.Get(), &ended);
    CHECK(ended == 1);
    CHECK(stage.log.HasBeginning("WARN",
                                 "softcardctl: disarm did not reach the card service (the card "
                                 "service did not respond)"));
}
