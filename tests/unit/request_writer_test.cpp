#include "cardsvc/request_writer.h"

#include <doctest.h>

#include <string>

using namespace kelvor;

namespace {

std::string Line(RequestWriter& writer)
{
    return std::string(writer.Finish().View());
}

}  // namespace

TEST_CASE("A request without further members is its command alone")
{
    RequestWriter writer("status");
    CHECK(Line(writer) == "{\"cmd\":\"status\"}\n");
}

TEST_CASE("Members follow in the order in which they are added")
{
    RequestWriter writer("x");
    writer.AddText("b", "1");
    writer.AddFlag("a", true);
    writer.AddFlag("c", false);
    writer.AddText("d", "");
    CHECK(Line(writer) == R"({"cmd":"x","b":"1","a":true,"c":false,"d":""})"
                          "\n");
}

TEST_CASE("Values are escaped")
{
    RequestWriter writer("x");
    writer.AddText("a", "say \"hi\"\n");
    CHECK(Line(writer) == R"({"cmd":"x","a":"say \"hi\"\n"})"
                          "\n");
}

TEST_CASE("Wide values are sent as UTF-8")
{
    RequestWriter writer("x");
    writer.AddText("a", L"\u00E9\\");
    CHECK(Line(writer) == "{\"cmd\":\"x\",\"a\":\"\xC3\xA9\\\\\"}\n");
}

TEST_CASE("A list of texts is quoted and separated by commas without blanks")
{
    RequestWriter writer("x");
    writer.AddTexts("a", {"1", "\"", "3"});
    CHECK(Line(writer) == R"({"cmd":"x","a":["1","\"","3"]})"
                          "\n");
}

TEST_CASE("A list of no texts is an empty array")
{
    RequestWriter writer("x");
    writer.AddTexts("a", {});
    CHECK(Line(writer) == R"({"cmd":"x","a":[]})"
                          "\n");
}
