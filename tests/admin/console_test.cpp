// How the tool reads its words, names its commands and writes.
#include <doctest.h>

#include <stdexcept>

#include "console/arguments.h"
#include "console/json_writer.h"
#include "console/program.h"
#include "console/visible_text.h"
#include "written.h"

using namespace kelvor::admin;
using kelvor::test::Written;

namespace {

int RunEcho(const std::vector<std::wstring>& words, const Output& output)
{
    const Arguments arguments(words, {{L"--times", true}, {L"--loud", false}});
    if (arguments.Has(L"--loud")) {
        throw std::runtime_error("too loud");
    }
    output.Line("echo");
    return static_cast<int>(arguments.Operands().size());
}

constexpr Command kCommands[] = {
    {"echo", "says it again", "Usage: tool echo\n", RunEcho},
    {"a-long-name", "has no room", "Usage: tool a-long-name\n", RunEcho},
};

// Runs the program and holds it to its exit code, its output and its error output.
void Expect(const std::vector<std::wstring>& words, int exitCode, const std::string& output,
            const std::string& error)
{
    const Written out;
    const Written err;
    CHECK(RunProgram(words, kCommands, out.To(), err.To()) == exitCode);
    CHECK(out.Text() == output);
    CHECK(err.Text() == error);
}

}  // namespace

TEST_CASE("The command that the first word names gets the other words")
{
    Expect({L"echo", L"one", L"-2", L"three"}, 3, "echo\n", "");
}

TEST_CASE("Help is asked for in any of the usual ways")
{
    for (const wchar_t* word : {L"--help", L"-h", L"/?", L"help"}) {
        const Written out;
        const Written err;
        CHECK(RunProgram({word}, kCommands, out.To(), err.To()) == 0);
        CHECK(out.Text().starts_with("Usage: KelvorFidoAdLogonAdmin COMMAND [ARGUMENT...]\n"));
        CHECK(out.Text().find("\n  echo      says it again\n  a-long-name  has no room\n") !=
              std::string::npos);
        CHECK(err.Text().empty());
    }
    Expect({L"help", L"echo"}, 0, "Usage: tool echo\n", "");
    Expect({L"echo", L"--help"}, 0, "Usage: tool echo\n", "");
    Expect({L"echo", L"--bogus", L"/?"}, 0, "Usage: tool echo\n", "");
}

TEST_CASE("The version is told")
{
    Expect({L"--version"}, 0, std::string("KelvorFidoAdLogonAdmin ") + KELVOR_VERSION + "\n", "");
}

TEST_CASE("Wrong use is named on the error output, and nothing else is written")
{
    const std::string tail = "; --help tells more\n";
    const std::string name = "KelvorFidoAdLogonAdmin: ";
    Expect({}, 2, "", name + "a command is missing" + tail);
    Expect({L"eco"}, 2, "", name + "unknown command eco" + tail);
    Expect({L"--bogus"}, 2, "", name + "unknown command --bogus" + tail);
    Expect({L"help", L"eco"}, 2, "", name + "unknown command eco" + tail);
    Expect({L"help", L"echo", L"echo"}, 2, "",
           name + "help tells about one command at a time" + tail);
    Expect({L"--version", L"echo"}, 2, "", name + "--version takes nothing behind it" + tail);
    Expect({L"echo", L"--bogüs"}, 2, "", name + "unknown option --bogüs" + tail);
    Expect({L"echo", L"--times"}, 2, "", name + "--times lacks its value" + tail);
    Expect({L"echo", L"--loud=1"}, 2, "", name + "--loud takes no value" + tail);
    Expect({L"echo", L"--times=1", L"--times", L"2"}, 2, "",
           name + "--times is given twice" + tail);
    Expect({L"echo", L"-"}, 2, "", name + "unknown option -" + tail);
}

TEST_CASE("A failure of the tool itself has an exit code of its own")
{
    Expect({L"echo", L"--loud"}, 4, "", "KelvorFidoAdLogonAdmin: too loud\n");
}

TEST_CASE("An option's value comes behind it or behind an equals sign")
{
    const std::initializer_list<OptionRule> rules = {{L"--user", true}, {L"--json", false}};
    const Arguments apart({L"--user", L"--json", L"x"}, rules);
    CHECK(apart.Value(L"--user") == L"--json");
    CHECK(!apart.Has(L"--json"));
    CHECK(apart.Operands() == std::vector<std::wstring>{L"x"});
    const Arguments joined({L"--json", L"--user=a=b"}, rules);
    CHECK(joined.Value(L"--user") == L"a=b");
    CHECK(joined.Has(L"--json"));
    CHECK(joined.Value(L"--never") == std::nullopt);
}

TEST_CASE("Colours stand around a text only where the output has them")
{
    std::string shown;
    const Output coloured([&](std::string_view text) { shown += text; }, true);
    coloured.Line(coloured.Painted(Colour::kRed, "FAIL"));
    CHECK(shown == "\x1B[31mFAIL\x1B[0m\n");
    const Written plain;
    CHECK(plain.To().Painted(Colour::kRed, "FAIL") == "FAIL");
}

TEST_CASE("A text of somebody else shows its control characters and keeps its letters")
{
    CHECK(Visible("first\r\nsecond\x1B[2J\x7F\xC2\x9B"
                  "31m") ==
          "first␍␊second␛[2J␡\xEF\xBF\xBD"
          "31m");
    CHECK(Visible("CORP\\jürgen 鍵 😀") == "CORP\\jürgen 鍵 😀");
}

TEST_CASE("JSON comes without blanks, with commas where they belong")
{
    JsonWriter json;
    json.BeginObject();
    json.Key("empty").BeginObject().EndObject();
    json.Key("list").BeginArray().Number(-7).Text("two").Flag(true).Flag(false).Null();
    json.BeginArray().EndArray().EndArray();
    json.Key("last").Text("");
    json.EndObject();
    CHECK(json.Written() == R"({"empty":{},"list":[-7,"two",true,false,null,[]],"last":""})");
}

TEST_CASE("JSON escapes what has to be, and nothing else")
{
    JsonWriter json;
    json.Text("\"\\/\b\f\n\r\t\x01\x1F\x7F ü 鍵 😀 \xFF");
    CHECK(json.Written() == "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001f\x7F ü 鍵 😀 \xEF\xBF\xBD\"");
}
