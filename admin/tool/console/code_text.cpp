#include "console/code_text.h"

#include <array>
#include <cstdio>
#include <cwctype>
#include <limits>

namespace kelvor::admin {
namespace {

constexpr std::wstring_view kDigits = L"0123456789abcdef";

// The number that the digits make; nothing when there are none, strange ones or too many.
std::optional<std::int64_t> ParseDigits(std::wstring_view digits, std::int64_t base)
{
    std::int64_t value = 0;
    for (const wchar_t letter : digits) {
        const std::size_t digit = kDigits.find(static_cast<wchar_t>(std::towlower(letter)));
        if (digit >= static_cast<std::size_t>(base) ||
            value > std::numeric_limits<std::uint32_t>::max()) {
            return std::nullopt;
        }
        value = value * base + static_cast<std::int64_t>(digit);
    }
    return digits.empty() ? std::nullopt : std::optional(value);
}

}  // namespace

std::optional<std::uint32_t> ParseCode(std::wstring_view text)
{
    const bool negative = text.starts_with(L'-');
    text.remove_prefix(negative ? 1 : 0);
    const bool hex = text.starts_with(L"0x") || text.starts_with(L"0X");
    text.remove_prefix(hex ? 2 : 0);
    std::optional<std::int64_t> value = ParseDigits(text, hex ? 16 : 10);
    if (value && negative) {
        value = -*value;
    }
    if (!value || *value < std::numeric_limits<std::int32_t>::min() ||
        *value > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*value);
}

std::string HexCode(std::uint32_t code)
{
    std::array<char, 11> text = {};
    std::snprintf(text.data(), text.size(), "0x%08X", code);
    return text.data();
}

}  // namespace kelvor::admin
