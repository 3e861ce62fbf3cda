#include "cardsvc/json_codec.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace kelvor {
namespace {

constexpr std::string_view kSpaces = " \t\n\r";

struct ShortEscape {
    char letter;  // behind the backslash
    char byte;
};
constexpr ShortEscape kShortEscapes[] = {
    {'"', '"'},  {'\\', '\\'}, {'b', '\b'}, {'t', '\t'},
    {'n', '\n'}, {'f', '\f'},  {'r', '\r'}, {'/', '/'},
};

// The letter that stands for `byte` behind a backslash, 0 when there is none. A slash could be
// escaped but need not be.
char EscapeLetter(char byte)
{
    for (const ShortEscape& escape : kShortEscapes) {
        if (escape.byte == byte && byte != '/') {
            return escape.letter;
        }
    }
    return '\0';
}

bool IsHighSurrogate(std::uint32_t code)
{
    return code >= 0xD800 && code <= 0xDBFF;
}

bool IsLowSurrogate(std::uint32_t code)
{
    return code >= 0xDC00 && code <= 0xDFFF;
}

// Reads the four hexadecimal digits at `position`.
bool ReadCodeUnit(std::string_view text, std::size_t position, std::uint32_t& unit)
{
    const std::string_view digits = text.substr(position, 4);
    const char* const end = digits.data() + digits.size();
    return digits.size() == 4 && std::from_chars(digits.data(), end, unit, 16).ptr == end;
}

// Joins a high surrogate with the escaped low one at `position`, if one is there.
std::uint32_t JoinSurrogates(std::string_view text, std::size_t& position, std::uint32_t high)
{
    std::uint32_t low = 0;
    if (text.substr(position, 2) != "\\u" || !ReadCodeUnit(text, position + 2, low) ||
        !IsLowSurrogate(low)) {
        return high;
    }
    position += 6;
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// UTF-8 of a code point; a surrogate gets its three-byte form.
void AppendUtf8(std::string& output, std::uint32_t code)
{
    const auto append = [&output](std::uint32_t byte) {
        output.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
    };
    if (code < 0x80) {
        append(code);
        return;
    }
    if (code < 0x800) {
        append(0xC0 | (code >> 6));
    } else {
        if (code < 0x10000) {
            append(0xE0 | (code >> 12));
        } else {
            append(0xF0 | (code >> 18));
            append(0x80 | ((code >> 12) & 0x3F));
        }
        append(0x80 | ((code >> 6) & 0x3F));
    }
    append(0x80 | (code & 0x3F));
}

// Reads the escape whose letter is at `position`.
bool ReadEscape(std::string_view text, std::size_t& position, std::string& output)
{
    if (position >= text.size()) {
        return false;
    }
    const char letter = text[position++];
    for (const ShortEscape& escape : kShortEscapes) {
        if (escape.letter == letter) {
            output.push_back(escape.byte);
            return true;
        }
    }
    std::uint32_t code = 0;
    if (letter != 'u' || !ReadCodeUnit(text, position, code)) {
        return false;
    }
    position += 4;
    AppendUtf8(output, IsHighSurrogate(code) ? JoinSurrogates(text, position, code) : code);
    return true;
}

// Reads up to the closing quote from the first character of a string on.
bool ReadStringBody(std::string_view text, std::size_t& position, std::string& output)
{
    while (position < text.size()) {
        const char character = text[position++];
        if (character == '"') {
            return true;
        }
        if (character != '\\') {
            output.push_back(character);
        } else if (!ReadEscape(text, position, output)) {
            return false;
        }
    }
    return false;
}

std::size_t SkipBracketed(std::string_view text, std::size_t position)
{
    std::size_t depth = 0;
    std::string skipped;
    while (position < text.size()) {
        const char character = text[position];
        if (character == '"') {
            if (!JsonReadString(text, position, skipped)) {
                return kJsonNotFound;
            }
            continue;
        }
        ++position;
        if (character == '[' || character == '{') {
            ++depth;
        } else if ((character == ']' || character == '}') && --depth == 0) {
            return position;
        }
    }
    return kJsonNotFound;
}

std::size_t SkipScalar(std::string_view text, std::size_t position)
{
    const std::size_t end = std::min(text.find_first_of(",}] \t\n\r", position), text.size());
    return end == position ? kJsonNotFound : end;
}

std::size_t SkipSpacesAndCommas(std::string_view text, std::size_t position)
{
    position = JsonSkipSpace(text, position);
    while (position < text.size() && text[position] == ',') {
        position = JsonSkipSpace(text, position + 1);
    }
    return position;
}

bool IsAt(std::string_view text, std::size_t position, char character)
{
    return position < text.size() && text[position] == character;
}

// Collects elements up to the closing bracket, from behind the opening one.
bool ReadElements(std::string_view text, std::size_t position, std::vector<std::string>& rows)
{
    for (;;) {
        const std::size_t start = SkipSpacesAndCommas(text, position);
        if (IsAt(text, start, ']')) {
            return true;
        }
        position = JsonSkipValue(text, start);
        if (position == kJsonNotFound) {
            return false;
        }
        rows.emplace_back(text.substr(start, position - start));
    }
}

}  // namespace

SecretText JsonEscape(std::string_view text)
{
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    SecretText escaped;
    escaped.Reserve(text.size() + 8);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (const char letter = EscapeLetter(character); letter != '\0') {
            escaped.Append('\\');
            escaped.Append(letter);
        } else if (byte < 0x20) {
            escaped.Append("\\u00");
            escaped.Append(kHexDigits[byte >> 4]);
            escaped.Append(kHexDigits[byte & 0x0F]);
        } else {
            escaped.Append(character);
        }
    }
    return escaped;
}

std::size_t JsonSkipSpace(std::string_view text, std::size_t position) noexcept
{
    return std::min(text.find_first_not_of(kSpaces, position), text.size());
}

bool JsonReadString(std::string_view text, std::size_t& position, std::string& output)
{
    output.clear();
    if (!IsAt(text, position, '"')) {
        return false;
    }
    std::size_t end = position + 1;
    if (!ReadStringBody(text, end, output)) {
        output.clear();
        return false;
    }
    position = end;
    return true;
}

std::size_t JsonSkipValue(std::string_view text, std::size_t position)
{
    if (position >= text.size()) {
        return kJsonNotFound;
    }
    switch (text[position]) {
        case '"': {
            std::string skipped;
            return JsonReadString(text, position, skipped) ? position : kJsonNotFound;
        }
        case '[':
        case '{':
            return SkipBracketed(text, position);
        default:
            return SkipScalar(text, position);
    }
}

std::size_t JsonFindKey(std::string_view text, std::string_view key)
{
    std::size_t position = JsonSkipSpace(text, 0);
    if (!IsAt(text, position, '{')) {
        return kJsonNotFound;
    }
    ++position;
    std::string name;
    while (position != kJsonNotFound) {
        position = SkipSpacesAndCommas(text, position);
        if (!JsonReadString(text, position, name)) {
            return kJsonNotFound;
        }
        position = JsonSkipSpace(text, position);
        if (!IsAt(text, position, ':')) {
            return kJsonNotFound;
        }
        position = JsonSkipSpace(text, position + 1);
        if (name == key) {
            return position;
        }
        position = JsonSkipValue(text, position);
    }
    return kJsonNotFound;
}

bool JsonReadBool(std::string_view text, std::string_view key, bool& output)
{
    const std::size_t position = JsonFindKey(text, key);
    if (position == kJsonNotFound) {
        return false;
    }
    const std::string_view value = text.substr(position);
    if (value.starts_with("true")) {
        output = true;
        return true;
    }
    if (value.starts_with("false")) {
        output = false;
        return true;
    }
    return false;
}

bool JsonReadResults(std::string_view text, std::vector<std::string>& rows)
{
    rows.clear();
    const std::size_t position = JsonFindKey(text, "results");
    if (!IsAt(text, position, '[') || !ReadElements(text, position + 1, rows)) {
        rows.clear();
        return false;
    }
    return true;
}

}  // namespace kelvor
