#include "slow_reader.h"

#include <cstdint>

namespace kelvor::test {
namespace {

// One thing between the quotes: a byte as it stands, or a 16-bit code that was written as \uXXXX.
struct Piece {
    bool isCode;
    std::uint32_t code;
};

struct Pieces {
    std::vector<Piece> list;
    std::size_t end;
};

struct Member {
    std::string name;
    std::size_t valuePosition;
};

constexpr std::string_view kSpaces = " \t\n\r";

// What stands behind the backslash of a short escape, and what it means.
constexpr std::string_view kLetters = "\"\\/bfnrt";
constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";

std::optional<std::uint32_t> FourHexDigits(std::string_view text)
{
    constexpr std::string_view kSmall = "0123456789abcdef";
    constexpr std::string_view kLarge = "0123456789ABCDEF";
    if (text.size() < 4) {
        return std::nullopt;
    }
    std::uint32_t code = 0;
    for (const char c : text.substr(0, 4)) {
        const std::size_t digit =
            kSmall.find(c) != std::string_view::npos ? kSmall.find(c) : kLarge.find(c);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        code = code * 16 + static_cast<std::uint32_t>(digit);
    }
    return code;
}

std::string Utf8(std::uint32_t code)
{
    const auto tail = [code](unsigned shift) {
        return static_cast<char>(0x80 + (code >> shift) % 64);
    };
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800) {
        return {static_cast<char>(0xC0 + code / 64), tail(0)};
    }
    if (code < 0x10000) {
        return {static_cast<char>(0xE0 + code / 4096), tail(6), tail(0)};
    }
    return {static_cast<char>(0xF0 + code / 262144), tail(12), tail(6), tail(0)};
}

// `rest` begins after the opening quote.
std::optional<Pieces> CutString(std::string_view rest)
{
    Pieces pieces{};
    while (!rest.empty() && rest.front() != '"') {
        std::size_t used = 1;
        if (rest.front() != '\\') {
            pieces.list.push_back({false, static_cast<unsigned char>(rest.front())});
        } else if (rest.size() > 1 && rest[1] == 'u') {
            const std::optional<std::uint32_t> code = FourHexDigits(rest.substr(2));
            if (!code) {
                return std::nullopt;
            }
            pieces.list.push_back({true, *code});
            used = 6;
        } else if (rest.size() > 1 && kLetters.find(rest[1]) != std::string_view::npos) {
            const char meaning = kMeanings[kLetters.find(rest[1])];
            pieces.list.push_back({false, static_cast<unsigned char>(meaning)});
            used = 2;
        } else {
            return std::nullopt;
        }
        rest.remove_prefix(used);
        pieces.end += used;
    }
    if (rest.empty()) {
        return std::nullopt;
    }
    ++pieces.end;
    return pieces;
}

std::string Joined(const std::vector<Piece>& pieces)
{
    std::string value;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const Piece here = pieces[i];
        const Piece next = i + 1 < pieces.size() ? pieces[i + 1] : Piece{false, 0};
        if (!here.isCode) {
            value += static_cast<char>(here.code);
        } else if (next.isCode && here.code / 0x400 == 0x36 && next.code / 0x400 == 0x37) {
            value += Utf8(0x10000 + here.code % 0x400 * 0x400 + next.code % 0x400);
            ++i;
        } else {
            value += Utf8(here.code);
        }
    }
    return value;
}

std::optional<std::size_t> SkipBrackets(std::string_view text, std::size_t position)
{
    std::string open;
    while (position < text.size()) {
        const char c = text[position];
        if (c == '"') {
            const std::optional<SlowString> inner = SlowReadString(text, position);
            if (!inner) {
                return std::nullopt;
            }
            position = inner->end;
            continue;
        }
        ++position;
        if (c == '[' || c == '{') {
            open += c;
        } else if (c == ']' || c == '}') {
            open.pop_back();
            if (open.empty()) {
                return position;
            }
        }
    }
    return std::nullopt;
}

// The member whose name starts at `position`, with its value not yet looked at.
std::optional<Member> ReadMember(std::string_view text, std::size_t position)
{
    const std::optional<SlowString> name = SlowReadString(text, position);
    if (!name) {
        return std::nullopt;
    }
    const std::size_t colon = SlowSkipSpace(text, name->end);
    if (colon >= text.size() || text[colon] != ':') {
        return std::nullopt;
    }
    return Member{name->value, SlowSkipSpace(text, colon + 1)};
}

// The members of the outermost object, as far as the text can be read.
std::vector<Member> Members(std::string_view text)
{
    std::vector<Member> members;
    std::size_t position = SlowSkipSpace(text, 0);
    if (position >= text.size() || text[position] != '{') {
        return members;
    }
    ++position;
    while (true) {
        position = SlowSkipSpace(text, position);
        if (position < text.size() && text[position] == ',') {
            ++position;
            continue;
        }
        const std::optional<Member> member = ReadMember(text, position);
        if (!member) {
            return members;
        }
        members.push_back(*member);
        const std::optional<std::size_t> end = SlowSkipValue(text, member->valuePosition);
        if (!end) {
            return members;
        }
        position = *end;
    }
}

}  // namespace

std::string SlowEscape(std::string_view text)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c != '/' && kMeanings.find(c) != std::string_view::npos) {
            escaped += {'\\', kLetters[kMeanings.find(c)]};
        } else if (byte < 32) {
            escaped += {'\\', 'u', '0', '0', kDigits[byte / 16U], kDigits[byte % 16U]};
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::size_t SlowSkipSpace(std::string_view text, std::size_t position)
{
    for (; position < text.size(); ++position) {
        if (kSpaces.find(text[position]) == std::string_view::npos) {
            return position;
        }
    }
    return text.size();
}

std::optional<SlowString> SlowReadString(std::string_view text, std::size_t position)
{
    if (position >= text.size() || text[position] != '"') {
        return std::nullopt;
    }
    const std::optional<Pieces> pieces = CutString(text.substr(position + 1));
    if (!pieces) {
        return std::nullopt;
    }
    return SlowString{Joined(pieces->list), position + 1 + pieces->end};
}

std::optional<std::size_t> SlowSkipValue(std::string_view text, std::size_t position)
{
    if (position >= text.size()) {
        return std::nullopt;
    }
    if (text[position] == '"') {
        const std::optional<SlowString> string = SlowReadString(text, position);
        return string ? std::optional(string->end) : std::nullopt;
    }
    if (text[position] == '[' || text[position] == '{') {
        return SkipBrackets(text, position);
    }
    const std::size_t stop = text.find_first_of(",}] \t\n\r", position);
    if (stop == position) {
        return std::nullopt;
    }
    return stop == std::string_view::npos ? text.size() : stop;
}

std::optional<std::size_t> SlowFindKey(std::string_view text, std::string_view key)
{
    for (const Member& member : Members(text)) {
        if (member.name == key) {
            return member.valuePosition;
        }
    }
    return std::nullopt;
}

std::optional<bool> SlowReadBool(std::string_view text, std::string_view key)
{
    const std::optional<std::size_t> position = SlowFindKey(text, key);
    if (!position) {
        return std::nullopt;
    }
    const std::string value(text.substr(*position));
    if (value.rfind("true", 0) == 0) {
        return true;
    }
    if (value.rfind("false", 0) == 0) {
        return false;
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> SlowReadResults(std::string_view text)
{
    const std::optional<std::size_t> value = SlowFindKey(text, "results");
    if (!value || *value >= text.size() || text[*value] != '[') {
        return std::nullopt;
    }
    std::vector<std::string> rows;
    std::size_t position = *value + 1;
    while (true) {
        position = SlowSkipSpace(text, position);
        if (position >= text.size()) {
            return std::nullopt;
        }
        if (text[position] == ']') {
            return rows;
        }
        if (text[position] == ',') {
            ++position;
            continue;
        }
        const std::optional<std::size_t> end = SlowSkipValue(text, position);
        if (!end) {
            return std::nullopt;
        }
        rows.emplace_back(text.substr(position, *end - position));
        position = *end;
    }
}

}  // namespace kelvor::test
