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

// The decoded string, "(failed)" when it cannot be read.
std::string Decoded(std::string_view text)
{
    std::string output;
    std::size_t position = 0;
    return JsonReadString(text, position, output) ? output : "(failed)";
}

std::string Escaped(std::string_view text)
{
    return std::string(JsonEscape(text).View());
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

TEST_CASE("Escaping gives each special byte its short form")
{
    CHECK(Escaped("\"\\\b\t\n\f\r") == R"(\"\\\b\t\n\f\r)");
}

TEST_CASE("Escaping writes the other control bytes as four lowercase hexadecimal digits")
{
    CHECK(Escaped("\0\x01\x07\x0B\x0E\x1A\x1F"sv) ==
          R"(\u0000\u0001\u0007\u000b\u000e\u001a\u001f)");
}

TEST_CASE("Escaping leaves a slash, the delete byte and UTF-8 as they are")
{
    CHECK(Escaped("/\x7F\xC3\xA9\xF0\x9F\x98\x80\xFF") == "/\x7F\xC3\xA9\xF0\x9F\x98\x80\xFF");
}

TEST_CASE("Escaping a tab, a quote, a backslash, a control byte and an accented letter in one text")
{
    CHECK(Escaped("\t\"\\\x01\xC3\xA9") == "\\t\\\"\\\\\\u0001\xC3\xA9");
}

TEST_CASE("Escaping nothing gives nothing")
{
    CHECK(JsonEscape("").Empty());
}

TEST_CASE("Every byte comes back from escaping and reading")
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<char>(byte));
    }
    std::string quoted(1, '"');
    quoted += Escaped(all);
    quoted += '"';
    CHECK(Decoded(quoted) == all);
}

TEST_CASE("Skipping space passes blanks, tabs and line ends and nothing else")
{
    CHECK(JsonSkipSpace(" \t\n\rx", 0) == 4);
    CHECK(JsonSkipSpace("x ", 0) == 0);
    CHECK(JsonSkipSpace("\v", 0) == 0);
}

TEST_CASE("Skipping space to the end gives the text's size")
{
    CHECK(JsonSkipSpace("", 0) == 0);
    CHECK(JsonSkipSpace("a  ", 1) == 3);
    CHECK(JsonSkipSpace("a", 7) == 1);
}

TEST_CASE("Reading a string moves the position past its closing quote")
{
    std::string output;
    std::size_t position = 1;
    REQUIRE(JsonReadString("x\"ab\",", position, output));
    CHECK(output == "ab");
    CHECK(position == 5);
}

TEST_CASE("Reading a string resolves each short escape")
{
    CHECK(Decoded(R"("\"\/\\\b\f\n\r\t")") == "\"/\\\b\f\n\r\t");
}

TEST_CASE("Reading a string takes raw control bytes and high bytes unchecked")
{
    CHECK(Decoded("\"\x01\n\xFF\x80\"") == "\x01\n\xFF\x80");
}

TEST_CASE("A code escape becomes one to three bytes of UTF-8")
{
    CHECK(Decoded(R"("\u0041\u007f")") == "A\x7F");
    CHECK(Decoded(R"("\u0080\u00e9\u07FF")") == "\xC2\x80\xC3\xA9\xDF\xBF");
    CHECK(Decoded(R"("\u0800\u20aC\uFFFF")") == "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF");
}

TEST_CASE("A code escape of zero puts a zero byte into the string")
{
    CHECK(Decoded(R"("a\u0000b")") == "a\0b"sv);
}

TEST_CASE("A surrogate pair is joined into four bytes")
{
    CHECK(Decoded(R"("\ud83d\ude00")") == "\xF0\x9F\x98\x80");
    CHECK(Decoded(R"("\uD800\uDC00")") == "\xF0\x90\x80\x80");
    CHECK(Decoded(R"("\uDBFF\uDFFF")") == "\xF4\x8F\xBF\xBF");
}

TEST_CASE("A high surrogate without its partner stands alone and the text goes on")
{
    CHECK(Decoded(R"("\ud83dx")") == "\xED\xA0\xBDx");
    CHECK(Decoded(R"("\ud83d\n")") == "\xED\xA0\xBD\n");
    CHECK(Decoded(R"("\ud83d\u0041")") ==
          "\xED\xA0\xBD"
          "A");
    CHECK(Decoded(R"("\ud83d\ud83d\ude00")") == "\xED\xA0\xBD\xF0\x9F\x98\x80");
    CHECK(Decoded(R"("\ud83d")") == "\xED\xA0\xBD");
}

TEST_CASE("A high surrogate before a broken escape fails with that escape")
{
    CHECK(Decoded(R"("\ud83d\ude0g")") == "(failed)");
    CHECK(Decoded(R"("\ud83d\ude")") == "(failed)");
}

TEST_CASE("A lone low surrogate is kept in its three-byte form")
{
    CHECK(Decoded(R"("\ude00")") == "\xED\xB8\x80");
}

TEST_CASE("Reading a string that is cut or wrong fails")
{
    const std::string_view texts[] = {"",
                                      "x",
                                      "\"",
                                      "\"abc",
                                      "\"\\",
                                      "\"\\\"",
                                      R"("\x")",
                                      R"("\u12)",
                                      R"("\u12")",
                                      R"("\u12G4")",
                                      R"("\u-123")",
                                      R"("\u+123")",
                                      R"("\U0041")",
                                      "\"\\u"};
    for (const std::string_view text : texts) {
        CAPTURE(std::string(text));
        CHECK(Decoded(text) == "(failed)");
    }
}

TEST_CASE("A failed string leaves the output empty and the position alone")
{
    std::string output = "left over";
    std::size_t position = 0;
    CHECK_FALSE(JsonReadString("\"abc", position, output));
    CHECK(output.empty());
    CHECK(position == 0);
}

TEST_CASE("Reading a string behind the text's end fails")
{
    std::string output;
    std::size_t position = kJsonNotFound;
    CHECK_FALSE(JsonReadString("\"a\"", position, output));
}

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

TEST_CASE("A refused boolean leaves the output as it was")
{
    bool value = true;
    CHECK_FALSE(JsonReadBool(R"({"x":fals})", "x", value));
    CHECK(value);
}
