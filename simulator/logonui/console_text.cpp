#include "logonui/console_text.h"

#include <algorithm>
#include <cstdio>

#include "text/utf8.h"

namespace kelvor::simulator {

std::string Hex32(unsigned long value)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "0x%08lX", value & 0xFFFFFFFFUL);
    return digits;
}

std::string Quoted(std::wstring_view text)
{
    std::string quoted(1, '\'');
    quoted += ToUtf8(text);
    quoted += '\'';
    return quoted;
}

std::size_t CountColumns(std::string_view text) noexcept
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char unit) { return (unit & 0xC0) != 0x80; }));
}

}  // namespace kelvor::simulator
