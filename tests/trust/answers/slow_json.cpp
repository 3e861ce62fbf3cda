#include "trust/answers/slow_json.h"

#include <cstdint>

namespace kelvor::trust {
namespace {

constexpr const char* kSpaces = " \t\n\r";
constexpr const char* kSpacesAndCommas = " \t\n\r,";
constexpr const char* kEndsOfScalars = " \t\n\r,]}";

// The text from its first character on that is none of these.
std::string Behind(const char* characters, const std::string& text)
{
    const std::size_t start = text.find_first_not_of(characters);
    return start == std::string::npos ? "" : text.substr(start);
}

std::optional<std::uint32_t> HexAt(const std::string& body, std::size_t at)
{
    if (at + 4 > body.size()) {
        return std::nullopt;
    }
    const std::string digits = body.substr(at, 4);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
}

std::string Utf8Of(std::uint32_t code)
{
    const auto tail = [code](unsigned shift) {
        return static_cast<char>(0x80 + ((code >> shift) % 64));
    };
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800) {
        return {static_cast<char>(0xC0 + (code >> 6)), tail(0)};
    }
    if (code < 0x10000) {
        return {static_cast<char>(0xE0 + (code >> 12)), tail(6), tail(0)};
    }
    return {static_cast<char>(0xF0 + (code >> 18)), tail(12), tail(6), tail(0)};
}

// What \uXXXX at `at`, with a low surrogate behind a high one, stands for; moves `at` behind it.
std::optional<std::string> ReadUnicode(const std::string& body, std::size_t& at)
{
    const auto unit = HexAt(body, at + 2);
    if (!unit) {
        return std::nullopt;
    }
    at += 6;
    if (*unit / 0x400 == 0xD800 / 0x400 && body.substr(at, 2) == "\\u") {
        const auto low = HexAt(body, at + 2);
        if (low && *low / 0x400 == 0xDC00 / 0x400) {
            at += 6;
            return Utf8Of(0x10000 + *unit % 0x400 * 0x400 + *low % 0x400);
        }
    }
    return Utf8Of(*unit);
}

// The meaning of what stands between two quotes.
std::optional<std::string> Unescaped(const std::string& body)
{
    const std::string letters = "\"\\/bfnrt";
    const std::string bytes = "\"\\/\b\f\n\r\t";
    std::string meaning;
    for (std::size_t at = 0; at < body.size();) {
        if (body[at] != '\\') {
            meaning += body[at++];
            continue;
        }
        const std::size_t letter = letters.find(body.at(at + 1));
        if (letter != std::string::npos) {
            meaning += bytes[letter];
            at += 2;
        } else if (body[at + 1] == 'u') {
            const auto character = ReadUnicode(body, at);
            if (!character) {
                return std::nullopt;
            }
            meaning += *character;
        } else {
            return std::nullopt;
        }
    }
    return meaning;
}

struct Quoted {
    std::string meaning;
    std::size_t sizeBytes = 0;  // with both quotes
};

// The string that the text begins with.
std::optional<Quoted> ReadQuoted(const std::string& text)
{
    if (text.empty() || text.front() != '"') {
        return std::nullopt;
    }
    std::size_t end = 1;
    while (end < text.size() && text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
    }
    if (end >= text.size()) {
        return std::nullopt;
    }
    const auto meaning = Unescaped(text.substr(1, end - 1));
    return meaning ? std::optional(Quoted{*meaning, end + 1}) : std::nullopt;
}

// How long the brackets are that the text begins with: any kind closes any kind.
std::optional<std::size_t> BracketedSize(const std::string& text)
{
    std::size_t open = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '"') {
            const auto quoted = ReadQuoted(text.substr(at));
            if (!quoted) {
                return std::nullopt;
            }
            at += quoted->sizeBytes;
            continue;
        }
        const char character = text[at++];
        open += character == '[' || character == '{' ? 1 : 0;
        if ((character == ']' || character == '}') && --open == 0) {
            return at;
        }
    }
    return std::nullopt;
}

// How long the value is that the text begins with.
std::optional<std::size_t> ValueSize(const std::string& text)
{
    if (text.empty()) {
        return std::nullopt;
    }
    if (text.front() == '"') {
        const auto quoted = ReadQuoted(text);
        return quoted ? std::optional(quoted->sizeBytes) : std::nullopt;
    }
    if (text.front() == '[' || text.front() == '{') {
        return BracketedSize(text);
    }
    const std::size_t size = text.find_first_of(kEndsOfScalars);
    if (size == std::string::npos) {
        return text.size();
    }
    return size == 0 ? std::nullopt : std::optional(size);
}

}  // namespace

std::optional<std::string> RestOf(const std::string& text, const std::string& name)
{
    std::string left = Behind(kSpaces, text);
    if (left.empty() || left.front() != '{') {
        return std::nullopt;
    }
    left.erase(0, 1);
    for (;;) {
        left = Behind(kSpacesAndCommas, left);
        const auto member = ReadQuoted(left);
        if (!member) {
            return std::nullopt;
        }
        left = Behind(kSpaces, left.substr(member->sizeBytes));
        if (left.empty() || left.front() != ':') {
            return std::nullopt;
        }
        left = Behind(kSpaces, left.substr(1));
        if (member->meaning == name) {
            return left;
        }
        const auto size = ValueSize(left);
        if (!size) {
            return std::nullopt;
        }
        left.erase(0, *size);
    }
}

std::optional<bool> TruthOf(const std::string& text, const std::string& name)
{
    const std::string rest = RestOf(text, name).value_or("");
    if (rest.substr(0, 4) == "true") {
        return true;
    }
    return rest.substr(0, 5) == "false" ? std::optional(false) : std::nullopt;
}

std::optional<std::string> TextOf(const std::string& text, const std::string& name)
{
    const auto quoted = ReadQuoted(RestOf(text, name).value_or(""));
    return quoted && !quoted->meaning.empty() ? std::optional(quoted->meaning) : std::nullopt;
}

std::optional<std::vector<std::string>> ElementsOf(const std::string& text, const std::string& name)
{
    std::string left = RestOf(text, name).value_or("");
    if (left.empty() || left.front() != '[') {
        return std::nullopt;
    }
    left.erase(0, 1);
    std::vector<std::string> elements;
    for (;;) {
        left = Behind(kSpacesAndCommas, left);
        if (!left.empty() && left.front() == ']') {
            return elements;
        }
        const auto size = ValueSize(left);
        if (!size) {
            return std::nullopt;
        }
        elements.push_back(left.substr(0, *size));
        left.erase(0, *size);
    }
}

}  // namespace kelvor::trust
