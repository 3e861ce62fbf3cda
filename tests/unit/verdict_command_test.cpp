#include <doctest.h>

#include <string>
#include <vector>

#include "cardsvc/commands.h"
#include "fido/account_filter.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using namespace kelvor::test;

TEST_CASE("Asking about no credentials is an invalid request that nobody hears of")
{
    const ProgramDataRoom room;
    std::vector<AccountVerdict> verdicts(1);
    std::wstring reason;
    CHECK(RequestVerdicts(L"https://signin.corp.example", false, {}, verdicts, reason) ==
          E_INVALIDARG);
    CHECK((reason == L"no credentials to check"));
    CHECK(verdicts.empty());
    CHECK(LogReader(room.LogFile()).Lines().empty());
}

TEST_CASE("A missing server comes before missing credentials")
{
    const ProgramDataRoom room;
    std::vector<AccountVerdict> verdicts;
    std::wstring reason;
    CHECK(RequestVerdicts(L"", false, {}, verdicts, reason) == E_FAIL);
    CHECK((reason == L"no sign-in server is configured"));
}

TEST_CASE("A tap without statements needs no verdict")
{
    const ProgramDataRoom room;
    std::vector<KeyStatement> statements;
    std::wstring reason;
    CHECK(FilterAccounts(L"", false, statements, reason) == S_OK);
    CHECK(reason.empty());
    CHECK(LogReader(room.LogFile()).Lines().empty());
}
