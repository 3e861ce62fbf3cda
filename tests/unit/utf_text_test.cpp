#include "cardsvc/utf_text.h"

#include <doctest.h>

#include <string>

using namespace kelvor;

TEST_CASE("Wide text becomes UTF-8 and comes back")
{
    const std::wstring wide = L"a\u00E9\u20AC\U0001F600";
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    CHECK(Utf16ToUtf8(wide) == utf8);
    CHECK((Utf8ToUtf16(utf8) == wide));
}

TEST_CASE("No text converts to no text")
{
    CHECK(Utf16ToUtf8(L"").empty());
    CHECK(Utf8ToUtf16("").empty());
    CHECK(Utf16ToUtf8Secret(L"").Empty());
}

TEST_CASE("A zero inside a text is converted like any character")
{
    CHECK(Utf16ToUtf8(std::wstring(L"a\0b", 3)) == std::string("a\0b", 3));
    CHECK((Utf8ToUtf16(std::string("a\0b", 3)) == std::wstring(L"a\0b", 3)));
}

TEST_CASE("Text that is not well formed is replaced, not refused")
{
    CHECK((Utf8ToUtf16("a\xFF") == L"a\uFFFD"));
    const wchar_t lone[] = {L'a', static_cast<wchar_t>(0xD83D), L'b'};
    CHECK(Utf16ToUtf8(std::wstring_view(lone, 3)) ==
          "a\xEF\xBF\xBD"
          "b");
}

TEST_CASE("A secret wide text becomes the same UTF-8 as any other")
{
    const SecretText secret = Utf16ToUtf8Secret(L"p\u00E9n");
    CHECK(std::string(secret.View()) == "p\xC3\xA9n");
    CHECK(std::string(secret.CStr()) == "p\xC3\xA9n");
}
