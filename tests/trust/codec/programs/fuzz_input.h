#pragma once

// How the bytes of a fuzzed input become the arguments of a function of the codec. The text always
// reaches to the input's last byte, behind which the sanitizer sees every read.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kelvor::test {

struct PlacedText {
    std::size_t position;
    std::string_view text;
};

struct KeyedText {
    std::string_view key;
    std::string_view text;
};

inline std::string_view WholeText(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

// The first byte is a place in the rest, its end and one past it included; 255 is no place at all.
inline PlacedText TextWithPlace(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return {0, {}};
    }
    const std::string_view text = WholeText(data + 1, size - 1);
    return {data[0] == 255 ? std::string_view::npos : data[0] % (text.size() + 2), text};
}

// The first line is a key, the rest the text; without a second line the key is empty.
inline KeyedText TextWithKey(const std::uint8_t* data, std::size_t size)
{
    const std::string_view whole = WholeText(data, size);
    const std::size_t lineEnd = whole.find('\n');
    if (lineEnd == std::string_view::npos) {
        return {{}, whole};
    }
    return {whole.substr(0, lineEnd), whole.substr(lineEnd + 1)};
}

}  // namespace kelvor::test
