#pragma once

// The codec's rules once more, written to be read rather than to be quick: it copies, it keeps
// lists, it decodes in two passes. What the codec does is held against this, byte by byte.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::test {

struct SlowString {
    std::string value;
    std::size_t end;  // just past the closing quote
};

std::string SlowEscape(std::string_view text);
std::size_t SlowSkipSpace(std::string_view text, std::size_t position);
std::optional<SlowString> SlowReadString(std::string_view text, std::size_t position);
std::optional<std::size_t> SlowSkipValue(std::string_view text, std::size_t position);
std::optional<std::size_t> SlowFindKey(std::string_view text, std::string_view key);
std::optional<bool> SlowReadBool(std::string_view text, std::string_view key);
std::optional<std::vector<std::string>> SlowReadResults(std::string_view text);

}  // namespace kelvor::test
