#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::simulator {

// Two upper-case digits a byte. Needs nothing of Windows.
std::string HexText(std::span<const unsigned char> bytes);
// Digits of either case. Nothing when the text is not pairs of hexadecimal digits.
std::optional<std::vector<unsigned char>> BytesOfHex(std::string_view hex);

}  // namespace kelvor::simulator
