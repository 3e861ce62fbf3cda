#pragma once

#include <string>
#include <string_view>

namespace kelvor::simulator {

// Ill-formed input becomes U+FFFD. Neither direction is meant for secrets.
std::string ToUtf8(std::wstring_view text);
std::wstring ToWide(std::string_view utf8);

// Whether the bytes are well-formed UTF-8.
bool IsUtf8(std::string_view bytes);

// Equal but for letter case, by Windows' ordinal rules.
bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b);

}  // namespace kelvor::simulator
