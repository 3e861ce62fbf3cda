#include "cardsvc/json_codec.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
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
    // The first byte begins with as many ones as there are bytes.
    unsigned following = code < 0x800 ? 1 : (code < 0x10000 ? 2 : 3);
    append((0xFF00U >> (following + 1)) | (code >> (6 * following)));
    while (following-- > 0) {
        append(0x80 | ((code >> (6 * following)) & 0x3F));
    }
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

// The position of the first quote or backslash from `position` on; the text's size when there is
// none. Nearly all of an answer is passed over here: it takes sixteen bytes at a time.
std::size_t FindQuoteOrBackslash(std::string_view text, std::size_t position)
{
    const __m128i quotes = _mm_set1_epi8('"');
    const __m128i backslashes = _mm_set1_epi8('\\');
    for (; position + sizeof(__m128i) <= text.size(); position += sizeof(__m128i)) {
        const __m128i bytes =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + position));
        const int found = _mm_movemask_epi8(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, quotes), _mm_cmpeq_epi8(bytes, backslashes)));
        if (found != 0) {
            return position +
                   static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(found)));
        }
    }
    while (position < text.size() && text[position] != '"' && text[position] != '\\') {
        ++position;
    }
    return position;
}

// Finds the string that starts with the quote at `position`, and the position past it. Nothing is
// copied: most strings of an answer are only passed over.
std::size_t ScanString(std::string_view text, std::size_t position, RawString& string)
{
    if (!IsAt(text, position, '"')) {
        return kJsonNotFound;
    }
    const std::size_t start = position + 1;
    string.escaped = false;
    std::size_t end = FindQuoteOrBackslash(text, start);
    while (IsAt(text, end, '\\')) {
        string.escaped = true;
        if (!IsEscape(text, end + 1)) {
            return kJsonNotFound;
        }
        end = FindQuoteOrBackslash(text, end + 2);
    }
    if (end == text.size()) {
        return kJsonNotFound;
    }
    string.body = {text.data() + start, end - start};
    return end + 1;
}

// The text that a scanned string stands for.
void Unescape(const RawString& string, std::string& output)
{
    if (!string.escaped) {
        output = string.body;
        return;
    }
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
            position = ScanString(text, position, skipped);
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
    while (position < text.size() && (IsSpace(text[position]) || text[position] == ',')) {
        ++position;
    }
    return position;
}

// Reads the name of the next member from `position` on and moves `position` to its value. False at
// the end of the object, and where it is broken.
bool NextMember(std::string_view text, std::size_t& position, RawString& name)
{
    const std::size_t nameEnd = ScanString(text, SkipSpacesAndCommas(text, position), name);
    const std::size_t colon = JsonSkipSpace(text, nameEnd);
    if (!IsAt(text, colon, ':')) {
        return false;
    }
    position = JsonSkipSpace(text, colon + 1);
    return true;
}

// Collects elements up to the closing bracket, from behind the opening one.
bool ReadElements(std::string_view text, std::size_t position, std::vector<std::string_view>& rows)
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
        rows.push_back(text.substr(start, position - start));
    }
}

}  // namespace

SecretText JsonEscape(std::string_view text)
{
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    SecretText escaped;
    escaped.Reserve(text.size() + 8);
    for (char last : text) {
        const auto byte = static_cast<unsigned char>(last);
        if (const char letter = EscapeLetter(last); letter != '\0') {
            escaped.Append('\\');
            last = letter;
        } else if (byte < 0x20) {
            escaped.Append("\\u00");
            escaped.Append(kHexDigits[byte >> 4]);
            last = kHexDigits[byte & 0x0F];
        }
        escaped.Append(last);
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
    const std::size_t end = ScanString(text, position, string);
    if (end == kJsonNotFound) {
        return false;
    }
    position = end;
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
            return ScanString(text, position, skipped);
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
    return JsonFindKeys<1>(text, {key})[0];
}

void JsonFindKeys(std::string_view text, std::span<const std::string_view> keys,
                  std::span<std::size_t> positions)
{
    std::ranges::fill(positions, kJsonNotFound);
    std::size_t position = JsonSkipSpace(text, 0);
    if (!IsAt(text, position, '{')) {
        return;
    }
    ++position;
    std::size_t missing = keys.size();
    RawString name;
    while (NextMember(text, position, name)) {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (positions[i] == kJsonNotFound && IsNamed(name, keys[i])) {
                positions[i] = position;
                --missing;
                break;
            }
        }
        if (missing == 0) {
            return;
        }
        position = JsonSkipValue(text, position);
    }
}

bool JsonReadBool(std::string_view text, std::size_t position, bool& output)
{
    const std::string_view value = text.substr(std::min(position, text.size()));
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

bool JsonReadBool(std::string_view text, std::string_view key, bool& output)
{
    return JsonReadBool(text, JsonFindKey(text, key), output);
}

bool JsonReadResults(std::string_view text, std::vector<std::string_view>& rows)
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
