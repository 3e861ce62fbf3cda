#pragma once

// The little JSON that the card service's one-line messages need. Nothing is parsed into a tree: a
// reader scans the answer for one member of the outermost object at a time. Positions are byte
// indices into the text; kJsonNotFound stands for failure and absence. No Windows header.

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor {

inline constexpr std::size_t kJsonNotFound = std::string_view::npos;

// The text with JSON's escapes applied and without quotes around it. UTF-8 passes unchanged.
// Requests carry secrets, so the result wipes itself.
[[nodiscard]] SecretText JsonEscape(std::string_view text);

// The first position from `position` on that holds no space, tab, line feed or carriage return;
// the text's size when there is none.
[[nodiscard]] std::size_t JsonSkipSpace(std::string_view text, std::size_t position) noexcept;

// Reads the string that starts with the quote at `position` and moves `position` past its closing
// quote. A lone surrogate escape is kept in its three-byte form; raw control bytes are accepted.
// On failure `output` is empty and `position` stays.
[[nodiscard]] bool JsonReadString(std::string_view text, std::size_t& position,
                                  std::string& output);

// The position just past the value that starts at `position`. Brackets are counted, not matched by
// kind, and a bare scalar is not validated.
[[nodiscard]] std::size_t JsonSkipValue(std::string_view text, std::size_t position);

// The position of the value of the outermost object's first member named `key`; it may equal the
// text's size. Missing, doubled and trailing commas are tolerated.
[[nodiscard]] std::size_t JsonFindKey(std::string_view text, std::string_view key);

// The same for several members in one walk: each position is what JsonFindKey gives for the key
// that stands in its place. No two keys are the same.
void JsonFindKeys(std::string_view text, std::span<const std::string_view> keys,
                  std::span<std::size_t> positions);
template <std::size_t count>
[[nodiscard]] std::array<std::size_t, count> JsonFindKeys(
    std::string_view text, const std::array<std::string_view, count>& keys)
{
    std::array<std::size_t, count> positions = {};
    JsonFindKeys(text, std::span(keys), std::span(positions));
    return positions;
}

// True when the value at `position`, or that of the member, is there and begins with "true" or
// "false"; otherwise `output` keeps its value.
[[nodiscard]] bool JsonReadBool(std::string_view text, std::size_t position, bool& output);
[[nodiscard]] bool JsonReadBool(std::string_view text, std::string_view key, bool& output);

// Collects the raw text of each element of the member `results`, in order, as parts of `text`. On
// failure `rows` is empty.
[[nodiscard]] bool JsonReadResults(std::string_view text, std::vector<std::string_view>& rows);

}  // namespace kelvor
