#include "logonui/unicode_text.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

namespace kelvor::simulator {

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty()) {
        return {};
    }
    const int lengthChars = static_cast<int>(text.size());
    const int sizeBytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), lengthChars, nullptr, 0,
                                              nullptr, nullptr);
    std::string result(static_cast<std::size_t>(sizeBytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), lengthChars, result.data(), sizeBytes, nullptr,
                        nullptr);
    return result;
}

std::wstring ToUtf16(std::string_view text)
{
    if (text.empty()) {
        return {};
    }
    const int sizeBytes = static_cast<int>(text.size());
    const int lengthChars = MultiByteToWideChar(CP_UTF8, 0, text.data(), sizeBytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(lengthChars), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), sizeBytes, result.data(), lengthChars);
    return result;
}

std::string Hex32(unsigned long value)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "0x%08lX", value & 0xFFFFFFFFUL);
    return digits;
}

std::size_t CountColumns(std::string_view text) noexcept
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char unit) { return (unit & 0xC0) != 0x80; }));
}

std::wstring FoldCase(std::wstring_view text)
{
    std::wstring result(text);
    for (wchar_t& unit : result) {
        if (unit >= L'A' && unit <= L'Z') {
            unit = static_cast<wchar_t>(unit - L'A' + L'a');
        }
    }
    return result;
}

}  // namespace kelvor::simulator
