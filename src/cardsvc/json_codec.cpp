#include "cardsvc/json_codec.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace kelvor {
namespace {

constexpr bool IsSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

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

// Appends what the escape whose letter is at `position` stands for, and moves past it. It can be
// read.
void AppendEscaped(std::string_view text, std::size_t& position, std::string& output)
{
    const char letter = text[position++];
    if (letter != 'u') {
        output.push_back(std::ranges::find(kShortEscapes, letter, &ShortEscape::letter)->byte);
        return;
    }
    std::uint32_t code = 0;
    ReadCodeUnit(text, position, code);
    position += 4;
    AppendUtf8(output, IsHighSurrogate(code) ? JoinSurrogates(text, position, code) : code);
}

// A string as it stands in the text, between its quotes.
struct RawString {
    std::string_view body;
    bool escaped = false;
};

bool IsAt(std::string_view text, std::size_t position, char character)
{
    return position < text.size() && text[position] == character;
}

// Whether the escape whose letter is at `position` can be read.
bool IsEscape(std::string_view text, std::size_t position)
{
    std::uint32_t unit = 0;
    return position < text.size() &&
           (text[position] == 'u'
                ? ReadCodeUnit(text, position + 1, unit)
                : std::ranges::count(kShortEscapes, text[position], &ShortEscape::letter) != 0);
}

// Finds the string that starts with the quote at `position` and moves `position` past it. Nothing
// is copied: most strings of an answer are only passed over.
bool ScanString(std::string_view text, std::size_t& position, RawString& string)
{
    if (!IsAt(text, position, '"')) {
        return false;
    }
    const std::size_t start = position + 1;
    for (std::size_t end = start; end < text.size(); ++end) {
        if (text[end] == '"') {
            string.body = text.substr(start, end - start);
            position = end + 1;
            return true;
        }
        if (text[end] == '\\') {
            string.escaped = true;
            if (!IsEscape(text, ++end)) {
                return false;
            }
        }
    }
    return false;
}

// The text that a scanned string stands for.
void Unescape(const RawString& string, std::string& output)
{
    output.reserve(string.body.size());
    std::string_view rest = string.body;
    for (std::size_t escape = rest.find('\\'); escape != std::string_view::npos;
         escape = rest.find('\\')) {
        output.append(rest.substr(0, escape));
        std::size_t position = escape + 1;
        AppendEscaped(rest, position, output);
        rest.remove_prefix(position);
    }
    output.append(rest);
}

bool IsNamed(const RawString& name, std::string_view key)
{
    if (!name.escaped) {
        return name.body == key;
    }
    std::string unescaped;
    Unescape(name, unescaped);
    return unescaped == key;
}

std::size_t SkipBracketed(std::string_view text, std::size_t position)
{
    std::size_t depth = 0;
    RawString skipped;
    while (position < text.size()) {
        const char character = text[position];
        if (character == '"') {
            if (!ScanString(text, position, skipped)) {
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
    std::size_t end = position;
    while (end < text.size() && text[end] != ',' && text[end] != '}' && text[end] != ']' &&
           !IsSpace(text[end])) {
        ++end;
    }
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
    while (position < text.size() && IsSpace(text[position])) {
        ++position;
    }
    return std::min(position, text.size());
}

bool JsonReadString(std::string_view text, std::size_t& position, std::string& output)
{
    output.clear();
    RawString string;
    if (!ScanString(text, position, string)) {
        return false;
    }
    Unescape(string, output);
    return true;
}

std::size_t JsonSkipValue(std::string_view text, std::size_t position)
{
    if (position >= text.size()) {
        return kJsonNotFound;
    }
    switch (text[position]) {
        case '"': {
            RawString skipped;
            return ScanString(text, position, skipped) ? position : kJsonNotFound;
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
    while (position != kJsonNotFound) {
        position = SkipSpacesAndCommas(text, position);
        RawString name;
        if (!ScanString(text, position, name)) {
            return kJsonNotFound;
        }
        position = JsonSkipSpace(text, position);
        if (!IsAt(text, position, ':')) {
            return kJsonNotFound;
        }
        position = JsonSkipSpace(text, position + 1);
        if (IsNamed(name, key)) {
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
