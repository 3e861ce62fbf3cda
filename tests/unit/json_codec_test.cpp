#include "cardsvc/json_codec.h"

#include <doctest.h>

#include <string>
#include <string_view>

using namespace kelvor;
using namespace std::string_view_literals;

namespace {

// The text behind the position that a reader gave, "(none)" when it found nothing.
std::string Rest(std::string_view text, std::size_t position)
{
    return std::string(position == kJsonNotFound ? "(none)"sv : text.substr(position));
}

std::string FoundValue(std::string_view text, std::string_view key)
{
    return Rest(text, JsonFindKey(text, key));
}

std::string AfterValue(std::string_view text, std::size_t position = 0)
{
    return Rest(text, JsonSkipValue(text, position));
}

// "true", "false", or "(failed)" when the reader refuses.
std::string ReadBoolText(std::string_view text)
{
    bool value = false;
    if (!JsonReadBool(text, "x", value)) {
        return "(failed)";
    }
    return value ? "true" : "false";
}

}  // namespace

TEST_CASE("Skipping a string passes its escaped quotes")
{
    CHECK(AfterValue(R"("a\"b",1)") == ",1");
}

TEST_CASE("Skipping a broken string fails")
{
    CHECK(AfterValue(R"("a\q")") == "(none)");
}

TEST_CASE("Skipping an object or array passes all it nests")
{
    CHECK(AfterValue(R"({"a":[{"b":1}]},2)") == ",2");
    CHECK(AfterValue("[[],[[]]]") == "");
}

TEST_CASE("Brackets inside strings do not count")
{
    CHECK(AfterValue(R"(["]}[{"]x)") == "x");
}

TEST_CASE("Brackets close whatever their kind")
{
    CHECK(AfterValue("[},1") == ",1");
    CHECK(AfterValue("{]") == "");
}

TEST_CASE("Skipping an object that does not end fails")
{
    CHECK(AfterValue("{") == "(none)");
    CHECK(AfterValue("[1,[2]") == "(none)");
    CHECK(AfterValue("[\"a]") == "(none)");
}

TEST_CASE("A bare value ends at a separator, a closing bracket, a space or the end")
{
    for (const char end : ",}] \t\n\r"sv) {
        const std::string rest = std::string(1, end) + "x";
        CHECK(AfterValue("12a" + rest) == rest);
    }
    CHECK(AfterValue("nul") == "");
    CHECK(AfterValue("a:b{") == "");
}

TEST_CASE("An empty value cannot be skipped")
{
    CHECK(AfterValue(",1") == "(none)");
    CHECK(AfterValue("}") == "(none)");
    CHECK(AfterValue("") == "(none)");
    CHECK(AfterValue("1", 1) == "(none)");
    CHECK(AfterValue("1", kJsonNotFound) == "(none)");
}

TEST_CASE("A member is found with the position of its value")
{
    CHECK(JsonFindKey(R"({"ok":true})", "ok") == 6);
}

TEST_CASE("A member of a nested object is passed over for the outer one")
{
    CHECK(FoundValue(R"({ "a" : {"ok":false}, "ok" : true })", "ok") == "true }");
    CHECK(FoundValue(R"({"a":[{"ok":1}]})", "ok") == "(none)");
}

TEST_CASE("A member is found although the closing brace is missing")
{
    CHECK(FoundValue(R"({"ok":true)", "ok") == "true");
    CHECK(FoundValue(R"({"ok":true)", "error") == "(none)");
}

TEST_CASE("Missing, leading, doubled and trailing commas do no harm")
{
    CHECK(FoundValue(R"({,"a":1,,"ok":true})", "ok") == "true}");
    CHECK(FoundValue(R"({"a":1 "ok":true})", "ok") == "true}");
    CHECK(FoundValue(R"({"a":"1""ok":true})", "ok") == "true}");
    CHECK(FoundValue(R"({"a":1, , })", "ok") == "(none)");
}

TEST_CASE("A member without a value ends the search")
{
    CHECK(FoundValue(R"({"a":})", "ok") == "(none)");
    CHECK(FoundValue(R"({"a":,"ok":true})", "ok") == "(none)");
}

TEST_CASE("The value's position may be the text's end")
{
    CHECK(JsonFindKey(R"({"ok":)", "ok") == 6);
    CHECK(JsonFindKey("{\"ok\": \t", "ok") == 8);
}

TEST_CASE("The first of two members with one name wins")
{
    CHECK(FoundValue(R"({"ok":1,"ok":2})", "ok") == R"(1,"ok":2})");
}

TEST_CASE("Names are compared after their escapes are resolved")
{
    CHECK(FoundValue(R"({"\u006f\u006B":7})", "ok") == "7}");
}

TEST_CASE("A name must match whole and in case")
{
    CHECK(FoundValue(R"({"o":1,"okay":2,"OK":3,"ok\u0000":4,"":5})", "ok") == "(none)");
    CHECK(FoundValue(R"({"ok":1})", "") == "(none)");
}

TEST_CASE("Several members are found together, each in the place of its key")
{
    constexpr std::string_view kText = R"({"b":1,"a":2,"a":3})";
    const auto [a, b, c] = JsonFindKeys<3>(kText, {"a", "b", "c"});
    CHECK(Rest(kText, a) == R"(2,"a":3})");
    CHECK(Rest(kText, b) == R"(1,"a":2,"a":3})");
    CHECK(c == kJsonNotFound);
}

TEST_CASE("Of several members, those before a broken one are found")
{
    constexpr std::string_view kText = R"({"a":1,"x":,"b":2})";
    const auto [b, a] = JsonFindKeys<2>(kText, {"b", "a"});
    CHECK(b == kJsonNotFound);
    CHECK(Rest(kText, a) == R"(1,"x":,"b":2})");
}

TEST_CASE("A text that is no object has no member")
{
    const std::string_view texts[] = {"",
                                      " \t\r\n",
                                      "[\"ok\":1]",
                                      "\"ok\":1",
                                      "x{\"ok\":1}",
                                      "{",
                                      "{ ",
                                      "{}",
                                      "{ok:1}",
                                      "{1:2,\"ok\":3}",
                                      "{\"ok\"",
                                      "{\"ok\" 1}",
                                      "{\"ok",
                                      "{\"a\\q\":1,\"ok\":2}"};
    for (const std::string_view text : texts) {
        CAPTURE(std::string(text));
        CHECK(FoundValue(text, "ok") == "(none)");
    }
}

TEST_CASE("Space before the object is skipped")
{
    CHECK(FoundValue("\r\n {\"ok\"\t:\n1}", "ok") == "1}");
}

TEST_CASE("A member cut anywhere is absent or has the value so far")
{
    const std::string whole = R"({"a":{"b":[1,"x"]},"ok":true})";
    const std::size_t value = JsonFindKey(whole, "ok");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        CAPTURE(size);
        const std::size_t found = JsonFindKey(std::string_view(whole).substr(0, size), "ok");
        CHECK(found == (size < value ? kJsonNotFound : value));
    }
}

TEST_CASE("Deeply nested brackets are skipped")
{
    const std::string deep = std::string(30000, '[') + std::string(30000, ']');
    CHECK(FoundValue("{\"a\":" + deep + ",\"ok\":1}", "ok") == "1}");
}

TEST_CASE("A boolean is read by its first letters")
{
    CHECK(ReadBoolText(R"({"x":true})") == "true");
    CHECK(ReadBoolText(R"({"x":true1})") == "true");
    CHECK(ReadBoolText(R"({"x":trueish)") == "true");
    CHECK(ReadBoolText(R"({"x": falsehood})") == "false");
}

TEST_CASE("What is no boolean is refused")
{
    const std::string_view texts[] = {R"({"x":"true"})", R"({"x":fals})", R"({"x":tru)",
                                      R"({"x":True})",   R"({"x":1})",    R"({"x":)",
                                      R"({"x":null})",   R"({"y":true})", ""};
    for (const std::string_view text : texts) {
        CAPTURE(std::string(text));
        CHECK(ReadBoolText(text) == "(failed)");
    }
}

TEST_CASE("A boolean is read at its position, and nowhere behind the text")
{
    bool value = true;
    CHECK(JsonReadBool("[false]", 1, value));
    CHECK_FALSE(value);
    CHECK_FALSE(JsonReadBool("true", 4, value));
    CHECK_FALSE(JsonReadBool("true", 5, value));
    CHECK_FALSE(JsonReadBool("true", kJsonNotFound, value));
}

TEST_CASE("A refused boolean leaves the output as it was")
{
    bool value = true;
    CHECK_FALSE(JsonReadBool(R"({"x":fals})", "x", value));
    CHECK(value);
}
