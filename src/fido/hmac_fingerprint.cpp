#include "fido/hmac_fingerprint.h"

#include <windows.h>

#include <bcrypt.h>

#include "fido/hex_text.h"
#include "secret.h"

// The pseudo handle of SHA-256 in the Windows SDK's bcrypt.h, which MinGW-w64's does not name.
#ifndef BCRYPT_SHA256_ALG_HANDLE
#define BCRYPT_SHA256_ALG_HANDLE (reinterpret_cast<BCRYPT_ALG_HANDLE>(0x41))
#endif

namespace kelvor {
namespace {

constexpr std::size_t kDigestBytes = 32;
constexpr std::size_t kFingerprintBytes = 8;

}  // namespace

std::string HmacFingerprint(std::span<const unsigned char> secret)
{
    SecretBytes digest(kDigestBytes);
    // CNG declares its input without const but only reads it.
    auto* const input = const_cast<unsigned char*>(secret.data());
    if (secret.empty() ||
        BCryptHash(BCRYPT_SHA256_ALG_HANDLE, nullptr, 0, input, static_cast<ULONG>(secret.size()),
                   digest.Data(), static_cast<ULONG>(digest.Size())) < 0) {
        return "(unavailable)";
    }
    return HexText({digest.Data(), kFingerprintBytes});
}

}  // namespace kelvor
