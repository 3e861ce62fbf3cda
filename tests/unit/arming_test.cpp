#include "fido/arming.h"

#include <doctest.h>

#include <string>

#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

constexpr const wchar_t* kExpired = L"the sign-in attempt expired — tap your security key again";

PendingTap TapOf(std::size_t statements)
{
    PendingTap tap;
    tap.nonce = std::string(44, 'n');
    tap.cdh = std::string(44, 'c');
    tap.statements.resize(statements);
    tap.valid = true;
    return tap;
}

}  // namespace

TEST_CASE("A row behind a tap's last one is an expired attempt")
{
    const ProgramDataRoom room;
    PendingTap tap = TapOf(3);
    std::wstring reason = L"left over";
    CHECK(FidoPinComplete(tap, 3, nullptr, reason) == E_FAIL);
    CHECK((reason == kExpired));
    CHECK(LogReader(room.LogFile())
              .Has("ERROR", "fidopin(complete): no assertion to submit (valid=1 index=3 of 3)."));
}

TEST_CASE("An expired attempt leaves nothing of the tap")
{
    const ProgramDataRoom room;
    PendingTap tap = TapOf(3);
    std::wstring reason;
    CHECK(FAILED(FidoPinComplete(tap, 3, nullptr, reason)));
    CHECK_FALSE(tap.valid);
    CHECK(tap.statements.empty());
    CHECK(tap.nonce.empty());
    CHECK(tap.cdh.empty());
}

TEST_CASE("A tap that was spent is an expired attempt")
{
    const ProgramDataRoom room;
    PendingTap tap = TapOf(1);
    ScrubPendingTap(tap);
    std::wstring reason;
    CHECK(FidoPinComplete(tap, 0, nullptr, reason) == E_FAIL);
    CHECK((reason == kExpired));
    CHECK(LogReader(room.LogFile())
              .Has("ERROR", "fidopin(complete): no assertion to submit (valid=0 index=0 of 0)."));
}

TEST_CASE("An expired attempt leaves the outcome empty")
{
    const ProgramDataRoom room;
    PendingTap tap;
    ArmOutcome outcome{L"alice@corp.example", true, true, {1}};
    std::wstring reason;
    CHECK(FAILED(FidoPinComplete(tap, 0, &outcome, reason)));
    CHECK(outcome.upn.empty());
    CHECK_FALSE(outcome.cardSwapped);
    CHECK_FALSE(outcome.didProvision);
    CHECK(outcome.credentialId.empty());
}
