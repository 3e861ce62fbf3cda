#include "logonui/console_text.h"

#include <algorithm>
#include <cstdio>

namespace kelvor::simulator {

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

}  // namespace kelvor::simulator
