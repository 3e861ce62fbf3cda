#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvor {

// What the member `ok` of an answer says; anything but a boolean, absence included, is unclear.
enum class Verdict { kYes, kNo, kUnclear };
[[nodiscard]] Verdict ReadOk(std::string_view answer);

// Reads the string at `position`, or a string member, as UTF-8. False, with `value` empty, when it
// is absent, empty or no string.
[[nodiscard]] bool ReadText(std::string_view object, std::size_t position, std::string& value);
[[nodiscard]] bool ReadText(std::string_view object, std::string_view key, std::string& value);

// The same as wide text, for what is shown or logged; empty when there is none.
[[nodiscard]] std::wstring ReadWideText(std::string_view object, std::size_t position);
[[nodiscard]] std::wstring ReadWideText(std::string_view object, std::string_view key);

// A boolean member, false when it is absent or no boolean.
[[nodiscard]] bool ReadFlag(std::string_view object, std::string_view key);

// Why the service refused: its own words, or `defaultText` when it gave none.
[[nodiscard]] std::wstring RefusalReason(std::string_view answer, const wchar_t* defaultText);

}  // namespace kelvor
