#include "crypto/sealed_box.h"

#include "crypto/cng.h"
#include "crypto/hash.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kNonceBytes = 12;
constexpr std::size_t kTagBytes = 16;

UniqueCngKey GcmKey(const SecretBytes& key)
{
    UniqueCngKey handle;
    RequireCng(BCryptGenerateSymmetricKey(Algorithm(BCRYPT_AES_ALGORITHM), handle.Receive(),
                                          nullptr, 0, const_cast<PUCHAR>(key.Data()),
                                          static_cast<ULONG>(key.Size()), 0),
               "BCryptGenerateSymmetricKey");
    wchar_t mode[] = BCRYPT_CHAIN_MODE_GCM;
    RequireCng(BCryptSetProperty(handle.Get(), BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(mode),
                                 sizeof(mode), 0),
               "BCryptSetProperty");
    return handle;
}

BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO ModeInfo(unsigned char* nonce, unsigned char* tag)
{
    BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info{};
    info.cbSize = sizeof(info);
    info.dwInfoVersion = BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO_VERSION;
    info.pbNonce = nonce;
    info.cbNonce = kNonceBytes;
    info.pbTag = tag;
    info.cbTag = kTagBytes;
    return info;
}

}  // namespace

Bytes SealBox(const SecretBytes& key, ByteView content)
{
    Bytes box = RandomBytes(kNonceBytes);
    box.resize(kNonceBytes + kTagBytes + content.size());
    auto info = ModeInfo(box.data(), box.data() + kNonceBytes);
    ULONG sizeBytes = 0;
    RequireCng(BCryptEncrypt(GcmKey(key).Get(), const_cast<PUCHAR>(content.data()),
                             static_cast<ULONG>(content.size()), &info, nullptr, 0,
                             box.data() + kNonceBytes + kTagBytes,
                             static_cast<ULONG>(content.size()), &sizeBytes, 0),
               "BCryptEncrypt");
    return box;
}

std::optional<SecretBytes> OpenBox(const SecretBytes& key, ByteView box)
{
    if (box.size() < kNonceBytes + kTagBytes) {
        return std::nullopt;
    }
    Bytes sealed(box.begin(), box.end());
    auto info = ModeInfo(sealed.data(), sealed.data() + kNonceBytes);
    SecretBytes content(box.size() - kNonceBytes - kTagBytes);
    ULONG sizeBytes = 0;
    const NTSTATUS status =
        BCryptDecrypt(GcmKey(key).Get(), sealed.data() + kNonceBytes + kTagBytes,
                      static_cast<ULONG>(content.Size()), &info, nullptr, 0, content.Data(),
                      static_cast<ULONG>(content.Size()), &sizeBytes, 0);
    if (status < 0) {
        return std::nullopt;
    }
    return content;
}

}  // namespace kelvor::simulator
