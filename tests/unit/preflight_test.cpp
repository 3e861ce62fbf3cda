#include "sclogon/preflight.h"

#include <doctest.h>

#include <string>

#include "private_registry.h"
#include "support/isolation.h"
#include "support/log_reader.h"
#include "support/readable_failures.h"

using namespace kelvor;
using kelvor::test::LogReader;
using kelvor::test::PrivateRegistry;
using kelvor::test::ProgramDataRoom;

namespace {

struct Checked {
    HRESULT result = E_UNEXPECTED;
    std::wstring certificateUpn;
    std::wstring reason;
};

Checked Check(const std::wstring& resolvedUpn, std::wstring certificateUpn)
{
    Checked checked;
    checked.certificateUpn = std::move(certificateUpn);
    checked.result =
        PreflightIdentityCheck(resolvedUpn, L"box", checked.certificateUpn, checked.reason);
    return checked;
}

}  // namespace

TEST_CASE("Without an account from the key the check is skipped although the certificate has one")
{
    const ProgramDataRoom room;
    const PrivateRegistry registry;
    CHECK(Check(L"", L"bob@corp.example").result == S_OK);
    CHECK(LogReader(room.LogFile())
              .Has("INFO",
                   "sclogon: pre-flight skipped (resolvedUpn=0 certUpn=1, pinnedContainer=0)."));
}

TEST_CASE("A skipped check tells whether a container is pinned")
{
    const ProgramDataRoom room;
    PrivateRegistry registry;
    registry.SetText(L"Container", L"box");
    CHECK(Check(L"", L"").result == S_OK);
    CHECK(LogReader(room.LogFile())
              .Has("INFO",
                   "sclogon: pre-flight skipped (resolvedUpn=0 certUpn=0, pinnedContainer=1)."));
}

TEST_CASE("The hint becomes the account of the card")
{
    const ProgramDataRoom room;
    PrivateRegistry registry;
    registry.SetText(L"ContainerUpn", L"ALICE@corp.example");
    const Checked checked = Check(L"alice@corp.example", L"");
    CHECK(checked.result == S_OK);
    CHECK(checked.certificateUpn == L"ALICE@corp.example");
}

TEST_CASE("A certificate's account is not replaced by the hint")
{
    const ProgramDataRoom room;
    PrivateRegistry registry;
    registry.SetText(L"ContainerUpn", L"bob@corp.example");
    const Checked checked = Check(L"alice@corp.example", L"Alice@corp.example");
    CHECK(checked.result == S_OK);
    CHECK(checked.certificateUpn == L"Alice@corp.example");
}

TEST_CASE("Letters outside ASCII compare without regard to case")
{
    const ProgramDataRoom room;
    const PrivateRegistry registry;
    CHECK(Check(L"J\u00DCRGEN@corp.example", L"j\u00FCrgen@corp.example").result == S_OK);
}

TEST_CASE("Letters that only a language takes for the same are different")
{
    const ProgramDataRoom room;
    const PrivateRegistry registry;
    CHECK(Check(L"stra\u00DFe@corp.example", L"strasse@corp.example").result ==
          static_cast<HRESULT>(0x8007089A));
    CHECK(Check(L"\u00E9@corp.example", L"e@corp.example").result ==
          static_cast<HRESULT>(0x8007089A));
}

TEST_CASE("A mismatch tells the user whose card it is not")
{
    const ProgramDataRoom room;
    const PrivateRegistry registry;
    const Checked checked = Check(L"alice@corp.example", L"bob@corp.example");
    CHECK(checked.result == static_cast<HRESULT>(0x8007089A));
    CHECK(checked.reason == L"the wrong card is loaded for your account — sign out and try again");
}

TEST_CASE("A check that could not compare leaves the reason alone")
{
    const ProgramDataRoom room;
    const PrivateRegistry registry;
    const Checked checked = Check(L"alice@corp.example", L"");
    CHECK(checked.result == S_OK);
    CHECK(checked.reason.empty());
    CHECK(LogReader(room.LogFile())
              .Has("WARN",
                   "sclogon: pre-flight could not verify the card's identity (tap resolved to "
                   "'alice@corp.example'; no ContainerUpn hint and no discovery read) - "
                   "continuing; a wrong card fails closed on the pinned container 'box'."));
}
