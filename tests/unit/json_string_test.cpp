#include "cardsvc/json_codec.h"

#include <doctest.h>

#include <string>
#include <string_view>

using namespace kelvor;
using namespace std::string_view_literals;

namespace {

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

TEST_CASE("A quote or an escape is found wherever it stands in a long string")
{
    for (std::size_t length = 0; length < 40; ++length) {
        CAPTURE(length);
        const std::string plain(length, 'x');
        std::string output;
        std::size_t position = 0;
        CHECK(JsonReadString("\"" + plain + "\",\"rest of the answer\"", position, output));
        CHECK(output == plain);
        CHECK(position == length + 2);
        position = 0;
        CHECK(JsonReadString("\"" + plain + "\\\"" + plain + "\"", position, output));
        CHECK(output == plain + "\"" + plain);
        position = 0;
        CHECK_FALSE(JsonReadString("\"" + plain, position, output));
    }
}
