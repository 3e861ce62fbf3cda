// Wide text of every kind in a log line: names come from keys, cards, the directory and the card
// service, and any of them may hold what no alphabet holds.
#include <doctest.h>

#include <string>
#include <vector>

#include "diag/log.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using kelvor::test::LogReader;
using kelvor::test::ProgramDataRoom;

namespace {

std::string OnlyMessage(const ProgramDataRoom& room)
{
    const std::vector<std::string> messages = LogReader(room.LogFile()).Messages();
    return messages.size() == 1 ? messages[0]
                                : "not one line but " + std::to_string(messages.size());
}

// What the log says of a name, between two words that have to be there.
std::string Logged(const std::wstring& name)
{
    const ProgramDataRoom room;
    LogInfo("before '%ls' behind", name);
    return OnlyMessage(room);
}

}  // namespace

TEST_CASE("A character outside the BMP is one character of the log")
{
    CHECK(Logged(L"a\xD83D\xDE00z") == "before 'a\xF0\x9F\x98\x80z' behind");
}

TEST_CASE("The last character of Unicode is written whole")
{
    CHECK(Logged(L"\xDBFF\xDFFF") == "before '\xF4\x8F\xBF\xBF' behind");
}

TEST_CASE("A high surrogate that stands alone is replaced and cuts nothing")
{
    CHECK(Logged(L"a\xD83Dz") == "before 'a\xEF\xBF\xBDz' behind");
}

TEST_CASE("A low surrogate that stands alone is replaced and cuts nothing")
{
    CHECK(Logged(L"a\xDE00z") == "before 'a\xEF\xBF\xBDz' behind");
}

TEST_CASE("Surrogates in the wrong order are two that stand alone")
{
    CHECK(Logged(L"\xDE00\xD83D") == "before '\xEF\xBF\xBD\xEF\xBF\xBD' behind");
}

TEST_CASE("No length of a name splits the characters in it")
{
    std::wstring name;
    std::string utf8;
    for (std::size_t characters = 0; characters < 70; ++characters) {
        CHECK(Logged(L"a" + name) == "before 'a" + utf8 + "' behind");
        name += L"\xD83D\xDE00";
        utf8 += "\xF0\x9F\x98\x80";
    }
}

TEST_CASE("A wide text has no length limit")
{
    const ProgramDataRoom room;
    LogInfo("%ls", std::wstring(100'000, L'\x2014'));
    const std::string bytes = LogReader(room.LogFile()).Bytes();
    std::string utf8;
    for (int i = 0; i < 100'000; ++i) {
        utf8 += "\xE2\x80\x94";
    }
    const bool isWhole = bytes.ends_with("  " + utf8 + "\r\n");
    CHECK(isWhole);
}

TEST_CASE("A high surrogate at the end of a name is replaced")
{
    CHECK(Logged(L"a\xD83D") == "before 'a\xEF\xBF\xBD' behind");
}

TEST_CASE("A percent sign is no conversion")
{
    const ProgramDataRoom room;
    Log(kLogComponent, "INFO", "100%% of %ls", L"\x2014");
    CHECK(OnlyMessage(room) == "100% of \xE2\x80\x94");
}

TEST_CASE("What the log's own lines do not use is formatted by the C runtime")
{
    const ProgramDataRoom room;
    Log(kLogComponent, "INFO", "%d %.1f %c '%5ls' %s", 7, 2.5, 'c', L"\xE4", "end");
    CHECK(OnlyMessage(room) == "7 2.5 c '    \xC3\xA4' end");
}

TEST_CASE("A conversion with a long width is formatted by the C runtime")
{
    const ProgramDataRoom room;
    Log(kLogComponent, "INFO", "%ls%0000000000000000003d%s", L"a", 7, "b");
    CHECK(OnlyMessage(room) == "a007b");
}

TEST_CASE("A wide text that is not there is said to be null")
{
    const ProgramDataRoom room;
    Log(kLogComponent, "INFO", "'%ls'", static_cast<const wchar_t*>(nullptr));
    CHECK(OnlyMessage(room) == "'(null)'");
}

TEST_CASE("A format that ends in a conversion's beginning ends there")
{
    const ProgramDataRoom room;
    Log(kLogComponent, "INFO", "%ls %l", L"\x2014");
    CHECK(OnlyMessage(room).starts_with("\xE2\x80\x94 "));
}
