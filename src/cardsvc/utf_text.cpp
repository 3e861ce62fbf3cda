#include "cardsvc/utf_text.h"

#include <windows.h>

#include <climits>
#include <new>

namespace kelvor {
namespace {

// Text of any kind can be converted: what the platform refuses, it has no memory for.
std::size_t Converted(int count)
{
    if (count <= 0) {
        throw std::bad_alloc();
    }
    return static_cast<std::size_t>(count);
}

// Converts into `capacityBytes` bytes at `output`; without an output, tells the bytes needed.
std::size_t ToUtf8(std::wstring_view text, char* output, std::size_t capacityBytes)
{
    return Converted(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         output, static_cast<int>(capacityBytes), nullptr,
                                         nullptr));
}

// Likewise, in UTF-16 units.
std::size_t ToUtf16(std::string_view text, wchar_t* output, std::size_t capacityChars)
{
    return Converted(MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         output, static_cast<int>(capacityChars)));
}

std::size_t Utf8Size(std::wstring_view text)
{
    return text.empty() || text.size() > INT_MAX ? 0 : ToUtf8(text, nullptr, 0);
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
    std::wstring converted(ToUtf16(text, nullptr, 0), L'\0');
    ToUtf16(text, converted.data(), converted.size());
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
