#include "logonui/step.h"

#include <doctest.h>

#include <string>

using namespace kelvor::simulator;

namespace {

StepKind KindOf(const char* line)
{
    std::string problem;
    const auto step = ParseStep(line, problem);
    REQUIRE_MESSAGE(step, problem);
    return step->kind;
}

}  // namespace

TEST_CASE("A scenario's words and the prompt's short ones mean the same")
{
    CHECK(KindOf("select tile 2") == KindOf("select 2"));
    CHECK(KindOf("insert key") == KindOf("insert"));
    CHECK(KindOf("insert key nfc") == KindOf("insert nfc"));
    CHECK(KindOf("remove key") == KindOf("remove"));
    CHECK(KindOf("type PIN 1234") == KindOf("pin 1234"));
    CHECK(KindOf("wait for status \"x\"") == KindOf("expect status \"x\""));
    CHECK(KindOf("pin") == StepKind::kAskPin);
}

TEST_CASE("The outermost quotes bound a text that holds quotes itself")
{
    std::string problem;
    const auto step = ParseStep("  expect status \"Use the \"Other user\" tile.\" ", problem);
    REQUIRE(step);
    CHECK((step->text == "Use the \"Other user\" tile."));
}

TEST_CASE("The place at which the service is to be killed is told apart from killing it now")
{
    std::string problem;
    const auto step = ParseStep("kill service after exchange 3", problem);
    REQUIRE(step);
    CHECK(step->kind == StepKind::kKillServiceAfter);
    CHECK(step->number == 3);
    CHECK(KindOf("kill service") == StepKind::kKillService);
}

TEST_CASE("A time, a count that may be nothing and a text are taken from the line")
{
    std::string problem;
    const auto pass = ParseStep("pass 6 s", problem);
    REQUIRE(pass);
    CHECK(pass->number == 6000);
    const auto tiles = ParseStep("expect tiles 0", problem);
    REQUIRE(tiles);
    CHECK(tiles->number == 0);
    const auto screen = ParseStep("show screen change password", problem);
    REQUIRE(screen);
    CHECK((screen->text == "change password"));
}

TEST_CASE("A line that is not understood is refused without being repeated")
{
    for (const char* line :
         {"", "type PIN", "select tile", "select tile 0", "select tile x", "pass", "pass a while",
          "expect tiles", "expect status unquoted", "clicks", "frobnicate 1234"}) {
        CAPTURE(line);
        std::string problem;
        CHECK_FALSE(ParseStep(line, problem));
        CHECK_FALSE(problem.empty());
        CHECK(problem.find("1234") == std::string::npos);
    }
}
