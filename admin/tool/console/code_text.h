#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvor::admin {

// A 32-bit code as somebody writes it: 0xC0000320, 3221226272 or -1073740000. Nothing for any other
// text and for what does not fit.
std::optional<std::uint32_t> ParseCode(std::wstring_view text);

// "0xC0000320"
std::string HexCode(std::uint32_t code);

}  // namespace kelvor::admin
