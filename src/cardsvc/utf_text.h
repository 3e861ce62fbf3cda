#pragma once

#include <string>
#include <string_view>

#include "secret.h"

namespace kelvor {

// Conversions between the wide text of Windows and the UTF-8 of the card service's pipe and of the
// security key. Text that is not well formed is never rejected: the platform puts its substitute
// character where it cannot convert. Text of more than INT_MAX units converts to nothing. A
// platform that cannot convert lacks memory for it: std::bad_alloc.
std::string Utf16ToUtf8(std::wstring_view text);
std::wstring Utf8ToUtf16(std::string_view text);

// As Utf16ToUtf8, for a text that must not outlive its use.
SecretText Utf16ToUtf8Secret(std::wstring_view text);

}  // namespace kelvor
