#include "text/hex.h"

#include <charconv>
#include <cstddef>

namespace kelvor::simulator {

std::string HexText(std::span<const unsigned char> bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (const unsigned char byte : bytes) {
        hex.push_back(kDigits[byte >> 4]);
        hex.push_back(kDigits[byte & 0x0F]);
    }
    return hex;
}

std::optional<std::vector<unsigned char>> BytesOfHex(std::string_view hex)
{
    if (hex.size() % 2 != 0) {
        return std::nullopt;
    }
    std::vector<unsigned char> bytes(hex.size() / 2);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const char* const pair = hex.data() + 2 * at;
        const auto [end, error] = std::from_chars(pair, pair + 2, bytes[at], 16);
        if (error != std::errc() || end != pair + 2) {
            return std::nullopt;
        }
    }
    return bytes;
}

}  // namespace kelvor::simulator
