#include "cardsvc/base64.h"

#include <windows.h>

#include <wincrypt.h>

#include <new>

namespace kelvor {

SecretText Base64Encode(std::span<const unsigned char> bytes)
{
    if (bytes.empty()) {
        return {};
    }
    constexpr DWORD kFormat = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
    const DWORD sizeBytes = static_cast<DWORD>(bytes.size());
    DWORD length = 0;  // counts the terminating zero here, and below no more
    if (!CryptBinaryToStringA(bytes.data(), sizeBytes, kFormat, nullptr, &length)) {
        throw std::bad_alloc();
    }
    SecretText text(length);
    if (!CryptBinaryToStringA(bytes.data(), sizeBytes, kFormat, text.Data(), &length)) {
        throw std::bad_alloc();
    }
    text.Shrink(length);
    return text;
}

bool Base64Decode(std::string_view text, std::vector<unsigned char>& bytes)
{
    bytes.clear();
    if (text.empty()) {
        return true;  // the platform would take a length of zero for "up to the zero byte"
    }
    const DWORD length = static_cast<DWORD>(text.size());
    DWORD sizeBytes = 0;
    if (!CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, nullptr, &sizeBytes,
                              nullptr, nullptr)) {
        return false;
    }
    bytes.resize(sizeBytes);
    if (!CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, bytes.data(), &sizeBytes,
                              nullptr, nullptr)) {
        bytes.clear();
        return false;
    }
    bytes.resize(sizeBytes);
    return true;
}

}  // namespace kelvor
