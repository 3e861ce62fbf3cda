#include "signin/sign_in_flow.h"

#include <doctest.h>

#include "failing_steps.h"
#include "fake_tile.h"
#include "private_registry.h"
#include "settings/settings.h"
#include "signin/blocking_sign_in.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

// A sign-in on a PC that is set up, with the FIDO gate on unless a test turns it off.
struct FlowRun {
    FlowRun()
    {
        registry.SetDword(kEnabledValue, 1);
        registry.SetDword(kFidoGateValue, 1);
    }

    void Run() { RunSignIn(tile, outcome); }

    ProgramDataRoom programData;
    PrivateRegistry registry;
    LogReader log{programData.LogFile()};
    FakeTile tile;
    SignInOutcome outcome;
};

}  // namespace

TEST_CASE("A tile whose account is not served says so before anything is asked")
{
    FlowRun flow;
    flow.tile.accountServed = false;
    flow.Run();
    REQUIRE(flow.tile.shown.size() == 1);
    CHECK((
        flow.tile.Last().text ==
        L"This account type is not supported by security-key domain sign-in. It works for Active Directory domain accounts; local Windows accounts use their own security-key tile, and Microsoft / Entra ID (Azure AD) accounts are not supported."));
    CHECK(flow.tile.Last().icon == CPSI_ERROR);
    CHECK(!flow.outcome.HasCredential());
    CHECK(flow.outcome.result == S_OK);
}

TEST_CASE("The \"Other user\" tile has no account of its own to be judged")
{
    FlowRun flow;
    flow.tile.otherUser = true;
    flow.tile.accountServed = false;
    flow.Run();
    CHECK(flow.log.Has("ERROR", "GetSerialization: the tap failed hr=0x80004005 ()"));
}

TEST_CASE("A tap that fails without a reason asks for another tap")
{
    FlowRun flow;
    flow.tile.otherUser = true;
    flow.Run();
    CHECK((flow.tile.Last().text == L"Security-key sign-in failed; tap the key and try again."));
    CHECK(flow.tile.Last().icon == CPSI_ERROR);
}

TEST_CASE("A build that fails without a reason asks to try again")
{
    FlowRun flow;
    flow.Run();
    CHECK((flow.tile.Last().text ==
           L"Sign-in failed: try again; if it keeps happening, contact IT."));
    CHECK(flow.log.Has("ERROR", "GetSerialization: BuildCertificateLogon failed hr=0x80004005 ()"));
}

TEST_CASE("A set-up that fails without a reason asks to try again")
{
    FlowRun flow;
    flow.registry.SetDword(kFidoGateValue, 0);
    flow.Run();
    CHECK((flow.tile.Last().text ==
           L"Couldn't set up sign-in: try again; if it keeps happening, contact IT."));
    CHECK(flow.log.Has("ERROR", "GetSerialization: JIT provisioning failed hr=0x80004005 ()"));
}

TEST_CASE("A directory that did not say why it cannot be reached is logged as saying nothing")
{
    FlowRun flow;
    flow.tile.directory.known = true;
    flow.tile.directory.ageMs = 1500;
    flow.Run();
    CHECK(flow.log.Has(
        "WARN",
        "GetSerialization: starting a sign-in although no domain controller could be located 1500 ms ago (no reason given) - expect LSA to refuse."));
}

TEST_CASE("A sign-in that runs out of memory says so and leaves no credential")
{
    FlowRun flow;
    Steps().buildRunsOutOfMemory = true;
    flow.Run();
    CHECK((flow.tile.Last().text ==
           L"Sign-in failed: this PC is low on memory — restart it and try again"));
    CHECK(flow.tile.Last().icon == CPSI_ERROR);
    CHECK(flow.outcome.result == E_OUTOFMEMORY);
    CHECK(!flow.outcome.HasCredential());
}

TEST_CASE("A blocking sign-in that runs out of memory answers so and asks for no optional text")
{
    FlowRun flow;
    Steps().buildRunsOutOfMemory = true;
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = CPGSR_NO_CREDENTIAL_NOT_FINISHED;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization = {};
    LPWSTR text = nullptr;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
    CHECK(SignInBlocking(flow.tile, {&response, &serialization, &text, &icon}) == E_OUTOFMEMORY);
    CHECK(response == CPGSR_NO_CREDENTIAL_NOT_FINISHED);
    CHECK(serialization.rgbSerialization == nullptr);
    CHECK_FALSE(flow.tile.askedForOptionalStatus);
}

TEST_CASE("A tile without an account is let through, and the log names it so")
{
    FlowRun flow;
    Steps().build = S_OK;
    flow.tile.userName.clear();
    flow.Run();
    CHECK(flow.outcome.HasCredential());
    CHECK(flow.log.Has(
        "WARN", "GetSerialization: could not compare tile '(none)' to resolved '' - allowing."));
}
