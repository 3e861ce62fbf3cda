#include "cardsvc/answer_reader.h"

#include <doctest.h>

#include <string>

using namespace kelvor;

namespace {

constexpr const char* kMissing[] = {R"({})",          R"({"x":""})", R"({"x":1})", R"({"x":null})",
                                    R"({"x":["a"]})", R"({"x":"a)",  R"({"x":)",   ""};

}  // namespace

TEST_CASE("An answer is a yes, a no, or unclear")
{
    CHECK((ReadOk(R"({"ok":true})") == Verdict::kYes));
    CHECK((ReadOk(R"({"ok":trueish})") == Verdict::kYes));
    CHECK((ReadOk(R"({"ok":false})") == Verdict::kNo));
    for (const char* answer : {R"({"ok":"true"})", R"({"ok":1})", R"({})", R"({"ok":)", "x"}) {
        CAPTURE(answer);
        CHECK((ReadOk(answer) == Verdict::kUnclear));
    }
}

TEST_CASE("A text member is read with its escapes resolved")
{
    std::string value;
    CHECK(ReadText(R"({"y":1,"x":"a\u00e9"})", "x", value));
    CHECK(value == "a\xC3\xA9");
    CHECK((ReadWideText(R"({"x":"a\u00e9"})", "x") == L"a\u00E9"));
}

TEST_CASE("A text member that is absent, empty or no string does not count")
{
    for (const char* answer : kMissing) {
        CAPTURE(answer);
        std::string value = "left over";
        CHECK_FALSE(ReadText(answer, "x", value));
        CHECK(value.empty());
        CHECK(ReadWideText(answer, "x").empty());
    }
}

TEST_CASE("A flag is true only when the answer says so")
{
    CHECK(ReadFlag(R"({"x":true})", "x"));
    for (const char* answer : {R"({"x":false})", R"({"x":"true"})", R"({"x":1})", "{}"}) {
        CAPTURE(answer);
        CHECK_FALSE(ReadFlag(answer, "x"));
    }
}

TEST_CASE("A refusal gives the service's words before the default ones")
{
    CHECK((RefusalReason(R"({"ok":false,"error":"no \u2014 not here"})", L"default") ==
           L"no \u2014 not here"));
    CHECK((RefusalReason(R"({"error":""})", L"default") == L"default"));
    CHECK((RefusalReason(R"({"error":5})", L"default") == L"default"));
    CHECK((RefusalReason(R"({"ok":false})", L"default") == L"default"));
}

TEST_CASE("The words of a refusal end at a zero character")
{
    CHECK((RefusalReason(R"({"error":"no licence\u0000 at all"})", L"default") == L"no licence"));
    CHECK((RefusalReason(R"({"error":"\u0000no licence"})", L"default") == L"default"));
}
