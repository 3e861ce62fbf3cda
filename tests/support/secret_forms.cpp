#include "support/secret_forms.h"

#include <functional>
#include <string>
#include <utility>

#include "support/fake_key.h"

namespace kelvor::test {
namespace {

constexpr unsigned char kSeedOfPin = 3;

// A run of bytes that is computed, one at a time, whenever somebody looks.
struct Run {
    std::string name;
    std::size_t size;
    std::function<unsigned char(std::size_t)> at;
};

Run Wide(const Run& text)
{
    return {text.name + " in UTF-16", 2 * text.size, [text](std::size_t i) {
                return i % 2 == 0 ? text.at(i / 2) : static_cast<unsigned char>(0);
            }};
}

Run Reversed(const Run& run)
{
    return {run.name + " reversed", run.size,
            [run](std::size_t i) { return run.at(run.size - 1 - i); }};
}

Run Hex(const Run& run, const char* digits)
{
    return {run.name + " in hexadecimal digits", 2 * run.size, [run, digits](std::size_t i) {
                const unsigned char byte = run.at(i / 2);
                return static_cast<unsigned char>(digits[i % 2 == 0 ? byte >> 4 : byte & 0xF]);
            }};
}

unsigned char Base64Letter(const Run& run, std::size_t index)
{
    constexpr const char* kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t at = index / 4 * 3;
    unsigned group = 0;
    for (std::size_t i = at; i < at + 3; ++i) {
        group = group << 8 | (i < run.size ? run.at(i) : 0U);
    }
    const bool padding = at + index % 4 > run.size;
    return static_cast<unsigned char>(padding ? '='
                                              : kLetters[group >> (18 - 6 * (index % 4)) & 0x3F]);
}

Run Base64(const Run& run)
{
    return {run.name + " in Base64", (run.size + 2) / 3 * 4,
            [run](std::size_t i) { return Base64Letter(run, i); }};
}

Run EscapedForJson(const Run& text)
{
    std::vector<std::pair<std::size_t, bool>> places;  // of the text, and whether a backslash
    for (std::size_t i = 0; i < text.size; ++i) {
        if (text.at(i) == '"' || text.at(i) == '\\') {
            places.emplace_back(i, true);
        }
        places.emplace_back(i, false);
    }
    return {text.name + " escaped for JSON", places.size(), [text, places](std::size_t i) {
                return places[i].second ? static_cast<unsigned char>('\\')
                                        : text.at(places[i].first);
            }};
}

// As a member of a request line.
Run Member(std::string beginning, const Run& value)
{
    beginning += "\":\"";
    return {value.name + " in a request line", beginning.size() + value.size + 1,
            [beginning, value](std::size_t i) {
                const std::size_t at = i - beginning.size();
                return static_cast<unsigned char>(i < beginning.size() ? beginning[i]
                                                  : at < value.size    ? value.at(at)
                                                                       : '"');
            }};
}

void AddText(std::vector<Run>& runs, const Run& text)
{
    runs.push_back(text);
    runs.push_back(Wide(text));
    runs.push_back(Reversed(text));
    runs.push_back(Wide(Reversed(text)));
}

void AddCodes(std::vector<Run>& runs, const Run& secret)
{
    AddText(runs, Base64(secret));
    AddText(runs, Hex(secret, "0123456789abcdef"));
    AddText(runs, Hex(secret, "0123456789ABCDEF"));
}

std::vector<ForbiddenBytes> Secrets()
{
    const Run pin = {"the PIN", kPinChars,
                     [](std::size_t i) { return static_cast<unsigned char>(PinLetter(i)); }};
    std::vector<Run> runs;
    AddText(runs, pin);
    AddText(runs, EscapedForJson(pin));
    AddCodes(runs, pin);
    runs.push_back(Member("authPin", EscapedForJson(pin)));
    for (const unsigned char seed : {kSeedOfAlice, kSeedOfBob}) {
        const Run output = {"an hmac-secret output", kHmacBytes,
                            [seed](std::size_t i) { return FakeKey::HmacByte(seed, i); }};
        runs.push_back(output);
        runs.push_back(Reversed(output));
        AddCodes(runs, output);
        runs.push_back(Member("authValue", Base64(output)));
    }
    std::vector<ForbiddenBytes> secrets;
    for (const Run& run : runs) {
        secrets.emplace_back(run.name, run.size, run.at);
    }
    return secrets;
}

}  // namespace

char PinLetter(std::size_t index)
{
    constexpr std::size_t kEscapedEvery = 7;
    if (index % kEscapedEvery == kEscapedEvery - 1) {
        return index % 2 == 0 ? '"' : '\\';
    }
    return static_cast<char>('A' + FakeKey::HmacByte(kSeedOfPin, index) % 26);
}

const ForbiddenSearch& SecretSearch()
{
    static const ForbiddenSearch search(Secrets());
    return search;
}

}  // namespace kelvor::test
