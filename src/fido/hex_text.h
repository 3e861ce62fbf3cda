#pragma once

#include <span>
#include <string>

namespace kelvor {

// Two upper-case hexadecimal digits for each byte, without separators.
[[nodiscard]] std::string HexText(std::span<const unsigned char> bytes);

}  // namespace kelvor
