#include "cardsvc/utf_text.h"

#include <windows.h>

#include <climits>

namespace kelvor {
namespace {

// Converts into `capacityBytes` bytes at `output`; without an output, tells the bytes needed.
int ToUtf8(std::wstring_view text, char* output, std::size_t capacityBytes)
{
    return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), output,
                               static_cast<int>(capacityBytes), nullptr, nullptr);
}

std::size_t Utf8Size(std::wstring_view text)
{
    if (text.empty() || text.size() > INT_MAX) {
        return 0;
    }
    return static_cast<std::size_t>(ToUtf8(text, nullptr, 0));
}

}  // namespace

std::string Utf16ToUtf8(std::wstring_view text)
{
    std::string converted(Utf8Size(text), '\0');
    if (!converted.empty()) {
        ToUtf8(text, converted.data(), converted.size());
    }
    return converted;
}

std::wstring Utf8ToUtf16(std::string_view text)
{
    if (text.empty() || text.size() > INT_MAX) {
        return {};
    }
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring converted(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, converted.data(), units);
    return converted;
}

SecretText Utf16ToUtf8Secret(std::wstring_view text)
{
    SecretText converted(Utf8Size(text));
    if (!converted.Empty()) {
        ToUtf8(text, converted.Data(), converted.Size());
    }
    return converted;
}

}  // namespace kelvor
