#include "crypto/base64.h"

#include <cstdint>

namespace kelvor::simulator {

namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::optional<std::uint32_t> DigitValue(char digit)
{
    const std::size_t value = std::string_view(kDigits).find(digit);
    if (value == std::string_view::npos) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(value);
}

// Hands every decoded byte to `take`. False when the text is malformed.
template <class Take>
bool Decode(std::string_view text, Take take)
{
    if (text.size() % 4 != 0) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const std::string_view group = text.substr(i, 4);
        std::size_t digits = 4;
        while (i + 4 == text.size() && digits > 2 && group[digits - 1] == '=') {
            --digits;
        }
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::optional<std::uint32_t> value = k < digits ? DigitValue(group[k]) : 0;
            if (!value) {
                return false;
            }
            bits = bits << 6 | *value;
        }
        for (std::size_t k = 0; k + 1 < digits; ++k) {
            take(static_cast<unsigned char>(bits >> (16 - 8 * k)));
        }
        if (digits < 4 && (bits & (digits == 2 ? 0xFFFFU : 0xFFU)) != 0) {
            return false;  // bits beyond the last byte
        }
    }
    return true;
}

}  // namespace

std::string Base64Text(ByteView bytes)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = bytes.size() - i < 3 ? bytes.size() - i : 3;
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (k < count ? bytes[i + k] : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::optional<Bytes> Base64Bytes(std::string_view text)
{
    Bytes bytes;
    if (!Decode(text, [&](unsigned char byte) { bytes.push_back(byte); })) {
        return std::nullopt;
    }
    return bytes;
}

std::optional<SecretBytes> Base64Secret(std::string_view text)
{
    SecretBytes bytes;
    bytes.Reserve(text.size());
    if (!Decode(text, [&](unsigned char byte) { bytes.Append(byte); })) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace kelvor::simulator
