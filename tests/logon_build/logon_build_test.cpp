#include <windows.h>

#include <doctest.h>

#include <string>

#include "arming_stand_in.h"
#include "private_registry.h"
#include "sclogon/logon_buffer.h"
#include "support/isolation.h"
#include "support/log_reader.h"
#include "support/readable_failures.h"
#include "surroundings/virtual_reader.h"

using namespace kelvor;
using kelvor::test::Arming;
using kelvor::test::LogReader;
using kelvor::test::PrivateRegistry;
using kelvor::test::ProgramDataRoom;

namespace {

// A PC whose gate is on and whose reader holds a card with a pinned container.
struct Bench {
    Bench()
    {
        registry.SetDword(L"FidoGate", 1);
        registry.SetText(L"Container", L"pinned");
        reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0",
                            simulator::ReaderCard{.registeredNames = {L"Kelvor Card"}}}});
    }

    HRESULT Build()
    {
        LogonRequest request{.tileDomain = tileDomain,
                             .tileUser = tileUser,
                             .preArmedUpn = L"",
                             .authPin = pin,
                             .pendingTap = tap,
                             .progress = [this] { ++progressCalls; }};
        return BuildCertificateLogon(request, handover, reason, resolvedUpn);
    }

    ProgramDataRoom programData;
    PrivateRegistry registry;
    simulator::VirtualReader reader{GetModuleHandleW(nullptr)};
    LogReader log{programData.LogFile()};

    std::wstring tileDomain = L"CORP";
    std::wstring tileUser = L"alice";
    SecretText pin;
    PendingTap* tap = nullptr;
    int progressCalls = 0;
    LogonHandover handover;
    std::wstring reason = L"a reason of before";
    std::wstring resolvedUpn;
};

}  // namespace

TEST_CASE("An arming that fails without a reason is given one")
{
    Bench bench;
    Arming().result = E_ABORT;
    CHECK(bench.Build() == E_ABORT);
    CHECK(bench.reason == L"the security key did not finish the sign-in");
    CHECK(bench.log.Has("ERROR", "sclogon: FIDO arm gate failed hr=0x80004004 ()"));
}

TEST_CASE("An arming that fails keeps its reason")
{
    Bench bench;
    Arming().result = E_ACCESSDENIED;
    Arming().reason = L"no licence";
    CHECK(bench.Build() == E_ACCESSDENIED);
    CHECK(bench.reason == L"no licence");
    CHECK(bench.log.Has("ERROR", "sclogon: FIDO arm gate failed hr=0x80070005 (no licence)"));
}

TEST_CASE("An arming that fails tells its account all the same")
{
    Bench bench;
    Arming().result = E_FAIL;
    Arming().outcome.upn = L"alice@corp.example";
    CHECK(bench.Build() == E_FAIL);
    CHECK(bench.resolvedUpn == L"alice@corp.example");
}

TEST_CASE("A build that fails leaves nothing to hand over")
{
    Bench bench;
    REQUIRE(bench.Build() == S_OK);
    REQUIRE(bench.handover);
    Arming().result = E_FAIL;
    CHECK(bench.Build() == E_FAIL);
    CHECK(!bench.handover);
    CHECK(bench.handover.SizeBytes() == 0);
    CHECK(bench.handover.Package() == 0);
}

TEST_CASE("A build that succeeds clears the reason of before")
{
    Bench bench;
    CHECK(bench.Build() == S_OK);
    CHECK(bench.reason.empty());
}

TEST_CASE("Without an account from the key the identity check is skipped, with a pinned container")
{
    Bench bench;
    CHECK(bench.Build() == S_OK);
    CHECK(bench.log.Has(
        "INFO", "sclogon: pre-flight skipped (resolvedUpn=0 certUpn=0, pinnedContainer=1)."));
}

TEST_CASE("Without an account from the key the hint about the container is not read")
{
    Bench bench;
    bench.registry.SetText(L"ContainerUpn", L"bob@corp.example");
    CHECK(bench.Build() == S_OK);
    CHECK(bench.log.HasBeginning("INFO", "sclogon: built KERB_CERTIFICATE_LOGON"));
    CHECK(bench.log.Messages().back().find("for 'CORP\\alice'") != std::string::npos);
}

TEST_CASE("Without an account from key, card and tile nobody can be signed in")
{
    Bench bench;
    bench.tileUser.clear();
    CHECK(bench.Build() == static_cast<HRESULT>(0x8007089A));
    CHECK(bench.log.Has("ERROR",
                        "sclogon: no account name for the logon buffer (tile='CORP\\', "
                        "certUpn='', resolved='') - Kerberos would refuse it as unnamed."));
}

TEST_CASE("The arming is told the tile's domain and user")
{
    Bench bench;
    REQUIRE(bench.Build() == S_OK);
    CHECK(Arming().tileUser == L"CORP\\alice");
}

TEST_CASE("The arming is told the user alone when the tile has no domain")
{
    Bench bench;
    bench.tileDomain.clear();
    REQUIRE(bench.Build() == S_OK);
    CHECK(Arming().tileUser == L"alice");
}

TEST_CASE("The arming is told nobody when the tile has no user")
{
    Bench bench;
    bench.tileUser.clear();
    CHECK(FAILED(bench.Build()));
    CHECK(Arming().taps == 1);
    CHECK(Arming().tileUser.empty());
}

TEST_CASE("The progress reaches whoever asked for the build")
{
    Bench bench;
    Arming().callsProgress = true;
    REQUIRE(bench.Build() == S_OK);
    CHECK(bench.progressCalls == 1);
}

TEST_CASE("A valid tap is completed with its chosen statement")
{
    Bench bench;
    PendingTap tap;
    tap.valid = true;
    tap.chosenIndex = 3;
    bench.tap = &tap;
    REQUIRE(bench.Build() == S_OK);
    CHECK(Arming().completions == 1);
    CHECK(Arming().index == 3);
    CHECK(Arming().taps == 0);
}

TEST_CASE("A tap that is spent is not completed; the key is asked anew")
{
    Bench bench;
    PendingTap tap;
    bench.tap = &tap;
    REQUIRE(bench.Build() == S_OK);
    CHECK(Arming().completions == 0);
    CHECK(Arming().taps == 1);
}
