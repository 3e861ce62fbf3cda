#include "fido/account_names.h"

#include <doctest.h>

#include <string>
#include <vector>

using namespace kelvor;

namespace {

constexpr std::size_t kUntouched = 99;

struct Matched {
    TileMatch match;
    std::size_t index;
};

Matched Match(const std::vector<std::wstring>& names, std::wstring_view tileUser)
{
    std::vector<KeyStatement> statements;
    for (const std::wstring& name : names) {
        statements.emplace_back().accountName = name;
    }
    std::size_t index = kUntouched;
    const TileMatch match = MatchTileAccount(statements, tileUser, index);
    return {match, index};
}

bool IsOne(const Matched& matched, std::size_t index)
{
    return matched.match == TileMatch::kOne && matched.index == index;
}

bool Is(const Matched& matched, TileMatch match)
{
    return matched.match == match && matched.index == kUntouched;
}

}  // namespace

TEST_CASE("A short name is what stands between the last backslash and the first at-sign")
{
    CHECK((ShortAccountName(L"CORP\\alice") == L"alice"));
    CHECK((ShortAccountName(L"alice@corp.example") == L"alice"));
    CHECK((ShortAccountName(L"alice") == L"alice"));
    CHECK((ShortAccountName(L"a\\b\\alice@x@y") == L"alice"));
    CHECK((ShortAccountName(L"al@x\\ice") == L"ice"));
    CHECK((ShortAccountName(L"CORP\\") == L""));
    CHECK((ShortAccountName(L"@corp.example") == L""));
    CHECK((ShortAccountName(L"") == L""));
}

TEST_CASE("A statement matches by the whole name in any case")
{
    CHECK(IsOne(Match({L"CORP\\bob", L"corp\\ALICE"}, L"CORP\\alice"), 1));
}

TEST_CASE("A statement matches by the short name")
{
    CHECK(IsOne(Match({L"CORP\\Alice", L"bob@corp.example"}, L"alice@corp.example"), 0));
    CHECK(IsOne(Match({L"CORP\\alice", L"bob@corp.example"}, L"CORP\\bob"), 1));
}

TEST_CASE("Empty short names do not match one another")
{
    CHECK(Is(Match({L"CORP\\", L"CORP\\bob"}, L"@corp.example"), TileMatch::kNone));
}

TEST_CASE("A name that only begins like the tile's does not match")
{
    CHECK(Is(Match({L"CORP\\alic", L"CORP\\alice2"}, L"CORP\\alice"), TileMatch::kNone));
}

TEST_CASE("No statement for the tile's user is a refusal")
{
    CHECK(Is(Match({L"CORP\\alice", L"bob@corp.example"}, L"CORP\\carol"), TileMatch::kNone));
    CHECK(Is(Match({}, L"CORP\\carol"), TileMatch::kNone));
}

TEST_CASE("An unnamed statement might be the tile's")
{
    CHECK(Is(Match({L"CORP\\alice", L""}, L"CORP\\carol"), TileMatch::kCannotTell));
}

TEST_CASE("An unnamed statement beside exactly one match does no harm")
{
    CHECK(IsOne(Match({L"", L"CORP\\alice"}, L"CORP\\alice"), 1));
}

TEST_CASE("Two statements of the tile's short name cannot be told apart")
{
    CHECK(Is(Match({L"CORP\\alice", L"alice@other.example"}, L"alice"), TileMatch::kCannotTell));
}

TEST_CASE("A tile that names nobody cannot be matched")
{
    CHECK(Is(Match({L"CORP\\alice", L"CORP\\bob"}, L""), TileMatch::kCannotTell));
    CHECK(Is(Match({}, L""), TileMatch::kCannotTell));
}

TEST_CASE("Names are compared by their letters beyond ASCII, too")
{
    CHECK(IsOne(Match({L"CORP\\\u00C4nne", L"CORP\\bob"}, L"\u00E4nne@corp.example"), 0));
}
