#include "fido/key_error_text.h"

#include <doctest.h>

#include <set>
#include <string>

#include "fake_key_library.h"

using namespace kelvor;
using kelvor::test::FakeKeyLibrary;

namespace {

struct Expected {
    int code;
    const wchar_t* text;
};

constexpr const wchar_t* kNoContact =
    L"could not talk to the security key \u2014 take it off the reader, lay it back flat, and try "
    L"again";

constexpr Expected kTexts[] = {
    {-4, kNoContact},
    {-3, kNoContact},
    {-2, kNoContact},
    {-1, kNoContact},
    {1, kNoContact},
    {22, L"this security key's credential cannot sign in here \u2014 register the key again"},
    {39, L"the security key cancelled the sign-in \u2014 tap it again to continue"},
    {45, L"the security key cancelled the sign-in \u2014 tap it again to continue"},
    {46, L"this security key is not registered for sign-in on this PC"},
    {47, L"the key was not touched in time \u2014 tap your security key and try again"},
    {48, L"no security key found \u2014 insert or tap your key and try again"},
    {49, L"incorrect PIN \u2014 check your security key's PIN and try again"},
    {50,
     L"this security key is locked after too many incorrect PIN attempts \u2014 it has to be reset "
     L"and registered again"},
    {51,
     L"the security key would not accept the sign-in \u2014 take it off the reader, put it back, "
     L"and try again"},
    {52,
     L"the security key stopped accepting its PIN \u2014 take it off the reader, put it back, and "
     L"try again"},
    {53, L"this security key has no PIN set \u2014 it may have been reset; register it again"},
    {54,
     L"enter your security key's PIN \u2014 the key has to verify you before it can sign you in"},
    {55, L"this security key's PIN does not meet its policy \u2014 change the PIN on the key"},
    {58, L"the key was not touched in time \u2014 tap your security key and try again"},
    {59, L"the key was not touched in time \u2014 tap your security key and try again"},
    {60,
     L"this security key is locked after too many incorrect PIN attempts \u2014 it has to be reset "
     L"and registered again"},
    {63,
     L"the security key would not accept the sign-in \u2014 take it off the reader, put it back, "
     L"and try again"},
};

}  // namespace

TEST_CASE("Each code of the key that a user can act on has its text")
{
    FakeKeyLibrary::Reset();
    for (const Expected& expected : kTexts) {
        CAPTURE(expected.code);
        CHECK((KeyErrorText(expected.code) == expected.text));
    }
}

TEST_CASE("Every other code of the key gets the fallback with the library's text")
{
    FakeKeyLibrary::Reset().errorText = "TX";
    std::set<int> known;
    for (const Expected& expected : kTexts) {
        known.insert(expected.code);
    }
    for (int code = -300; code <= 300; ++code) {
        if (!known.contains(code)) {
            CAPTURE(code);
            CHECK((KeyErrorText(code) == L"security-key sign-in failed (TX)"));
        }
    }
}

TEST_CASE("The fallback stands alone when the library has no text")
{
    FakeKeyLibrary& library = FakeKeyLibrary::Reset();
    library.errorText = "";
    CHECK((KeyErrorText(0) == L"security-key sign-in failed"));
    library.errorText = nullptr;
    CHECK((KeyErrorText(-5) == L"security-key sign-in failed"));
}

TEST_CASE("The library's text is widened byte by byte")
{
    FakeKeyLibrary::Reset().errorText = "\xC3\xA9";
    CHECK((KeyErrorText(64) == L"security-key sign-in failed (\u00C3\u00A9)"));
}

TEST_CASE("A missing library text is an empty one")
{
    FakeKeyLibrary::Reset().errorText = nullptr;
    CHECK(std::string(KeyLibraryText(1)) == "");
}
