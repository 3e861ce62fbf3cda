// The search knows a secret in each form, and whatever carries one outward is searched.
#include <windows.h>

#include <wincrypt.h>

#include <algorithm>
#include <string>

#include "imports/import_table.h"
#include "secret.h"
#include "support/readable_failures.h"
#include "support/secret_stage.h"

using namespace kelvor::test;

namespace {

// Leaves no copy: the next case may search the memory of this process.
using Text = std::basic_string<char, std::char_traits<char>, kelvor::WipingAllocator<char>>;

// The number of pieces that the search finds in a text.
std::size_t Pieces(const Text& text)
{
    std::vector<std::string> places;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    SecretSearch().Look(bytes, text.size(), places, bytes);
    return places.size();
}

Text PinText()
{
    Text pin;
    for (std::size_t i = 0; i < kPinChars; ++i) {
        pin += PinLetter(i);
    }
    return pin;
}

Text HmacText()
{
    Text output;
    for (std::size_t i = 0; i < kHmacBytes; ++i) {
        output += static_cast<char>(FakeKey::HmacByte(kSeedOfAlice, i));
    }
    return output;
}

// As Windows writes bytes in text.
Text Encoded(const Text& bytes, DWORD encoding)
{
    DWORD size = 0;
    const auto* from = reinterpret_cast<const BYTE*>(bytes.data());
    const auto fromSize = static_cast<DWORD>(bytes.size());
    CryptBinaryToStringA(from, fromSize, encoding | CRYPT_STRING_NOCRLF, nullptr, &size);
    Text text(size, '\0');
    CryptBinaryToStringA(from, fromSize, encoding | CRYPT_STRING_NOCRLF, text.data(), &size);
    text.resize(size);
    return text;
}

Text Wide(const Text& text)
{
    Text wide;
    for (const char letter : text) {
        wide += letter;
        wide += '\0';
    }
    return wide;
}

Text Reversed(Text text)
{
    std::ranges::reverse(text);
    return text;
}

// To the card service, as the module would.
void SendLine(const Stage& stage, const Text& line)
{
    const kelvor::UniqueKernelObject pipe(CreateFileW(stage.pipe.Name().c_str(),
                                                      GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                      OPEN_EXISTING, 0, nullptr));
    DWORD written = 0;
    REQUIRE(WriteFile(pipe.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr));
    char answer = 0;
    REQUIRE(ReadFile(pipe.Get(), &answer, 1, &written, nullptr));
}

}  // namespace

TEST_CASE("The search knows the PIN in each of its forms")
{
    const Text escaped = [] {
        Text text;
        for (const char letter : PinText()) {
            text += letter == '"' || letter == '\\' ? Text("\\") + letter : Text(1, letter);
        }
        return text;
    }();
    for (const Text& text : {PinText(), escaped, Encoded(PinText(), CRYPT_STRING_BASE64),
                             Encoded(PinText(), CRYPT_STRING_HEXRAW)}) {
        CHECK(Pieces(text) >= text.size() / ForbiddenBytes::kPieceBytes);
        CHECK(Pieces(Wide(text)) >= 2 * text.size() / ForbiddenBytes::kPieceBytes);
        CHECK(Pieces(Reversed(text)) >= text.size() / ForbiddenBytes::kPieceBytes);
        CHECK(Pieces(Wide(Reversed(text))) >= 2 * text.size() / ForbiddenBytes::kPieceBytes);
    }
}

TEST_CASE("The search knows an hmac-secret output in each of its forms")
{
    CHECK(Pieces(HmacText()) == 2);
    CHECK(Pieces(Reversed(HmacText())) == 2);
    const Text base64 = Encoded(HmacText(), CRYPT_STRING_BASE64);
    CHECK(Pieces(base64) >= 3);
    CHECK(Pieces(Wide(base64)) == 6);
    CHECK(Pieces(Reversed(base64)) >= 3);
    CHECK(Pieces(R"({"cmd":"x","authValue":")" + base64 + "\"}") > Pieces(base64));
    const Text hex = Encoded(HmacText(), CRYPT_STRING_HEXRAW);
    CHECK(Pieces(hex) == 4);
    CHECK(Pieces(Wide(hex)) == 8);
    CHECK(Pieces(Reversed(hex)) == 4);
}

TEST_CASE("A single piece of a secret is enough, and other texts hold none")
{
    CHECK(Pieces(HmacText().substr(0, ForbiddenBytes::kPieceBytes)) == 1);
    CHECK(Pieces(HmacText().substr(0, ForbiddenBytes::kPieceBytes - 1)) == 0);
    CHECK(Pieces(Text(4096, '\0')) == 0);
    CHECK(Pieces(R"({"cmd":"disarm"})") == 0);
}

TEST_CASE("A request line that carries a secret where none belongs is noticed")
{
    SecretStage stage;
    for (const char* member : {"server", "authValue"}) {
        CAPTURE(member);
        const Text line = Text(R"({"cmd":"status",")") + member + "\":\"" +
                          Encoded(HmacText(), CRYPT_STRING_BASE64) + "\"}\n";
        SendLine(stage, line);
        CHECK(std::ranges::any_of(stage.SecretsLeft(), [](const std::string& place) {
            return place.starts_with("in a request line: an hmac-secret output in Base64");
        }));
    }
}

TEST_CASE("The module has no way to speak to a debugger, a console or the event log")
{
    const ModuleUnderTest module;
    for (const kelvor::simulator::Import& import :
         kelvor::simulator::ListImports(module.Handle())) {
        CAPTURE(import.function);
        for (const char* speaking : {"OutputDebugString", "DbgPrint", "WriteConsole", "ReportEvent",
                                     "EventWrite", "TraceEvent", "TraceMessage"}) {
            CHECK_FALSE(import.function.starts_with(speaking));
        }
    }
}
