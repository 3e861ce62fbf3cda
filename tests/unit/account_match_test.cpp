#include "signin/account_match.h"

#include <doctest.h>

using namespace kelvor;

TEST_CASE("Without a name for the tile the accounts cannot be compared")
{
    CHECK((MatchAccounts(L"", L"alice@corp.example", L"alice@corp.example") ==
           AccountMatch::kUndecidable));
}

TEST_CASE("Without a resolved account the accounts cannot be compared")
{
    CHECK(
        (MatchAccounts(L"CORP\\alice", L"", L"alice@corp.example") == AccountMatch::kUndecidable));
}

TEST_CASE("With the directory's name whole names are compared, whatever their case")
{
    CHECK((MatchAccounts(L"CORP\\al", L"Alice@Corp.example", L"alice@corp.EXAMPLE") ==
           AccountMatch::kSame));
    CHECK((MatchAccounts(L"CORP\\alice", L"alice@other.example", L"alice@corp.example") ==
           AccountMatch::kDifferent));
}

TEST_CASE("Without the directory's name the user-name parts are compared, whatever their case")
{
    CHECK((MatchAccounts(L"CORP\\Alice", L"alice@corp.example", L"") == AccountMatch::kSame));
    CHECK((MatchAccounts(L"CORP\\alic", L"alice@corp.example", L"") == AccountMatch::kDifferent));
    CHECK((MatchAccounts(L"CORP\\alicf", L"alice@corp.example", L"") == AccountMatch::kDifferent));
}

TEST_CASE("A name without a separator is its own user-name part")
{
    CHECK((MatchAccounts(L"alice", L"alice", L"") == AccountMatch::kSame));
}

TEST_CASE("The tile's user-name part begins after its last backslash")
{
    CHECK((MatchAccounts(L"CORP\\sub\\alice", L"alice@corp.example", L"") == AccountMatch::kSame));
}

TEST_CASE("The resolved account's user-name part ends at its first at sign")
{
    CHECK((MatchAccounts(L"CORP\\alice", L"alice@corp@example", L"") == AccountMatch::kSame));
}

TEST_CASE("An empty user-name part cannot be compared")
{
    CHECK((MatchAccounts(L"CORP\\", L"alice@corp.example", L"") == AccountMatch::kUndecidable));
    CHECK((MatchAccounts(L"CORP\\alice", L"@corp.example", L"") == AccountMatch::kUndecidable));
}
