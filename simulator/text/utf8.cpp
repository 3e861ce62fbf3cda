#include "text/utf8.h"

#include <windows.h>

namespace kelvor::simulator {

std::string ToUtf8(std::wstring_view text)
{
    const int lengthChars = static_cast<int>(text.size());
    if (lengthChars == 0) {
        return {};
    }
    const int sizeBytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), lengthChars, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(sizeBytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), lengthChars, utf8.data(), sizeBytes, nullptr,
                        nullptr);
    return utf8;
}

std::wstring ToWide(std::string_view utf8)
{
    const int sizeBytes = static_cast<int>(utf8.size());
    if (sizeBytes == 0) {
        return {};
    }
    const int lengthChars = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), sizeBytes, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(lengthChars), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), sizeBytes, text.data(), lengthChars);
    return text;
}

bool IsUtf8(std::string_view bytes)
{
    return bytes.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, 0) != 0;
}

bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b)
{
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace kelvor::simulator
