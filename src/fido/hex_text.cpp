#include "fido/hex_text.h"

#include <string_view>

namespace kelvor {

std::string HexText(std::span<const unsigned char> bytes)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0F]);
    }
    return text;
}

}  // namespace kelvor
