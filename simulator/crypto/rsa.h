#pragma once

#include "crypto/bytes.h"
#include "crypto/cng.h"

namespace kelvor::simulator {

// An RSA key pair of 2048 bits that signs with RSASSA-PKCS1-v1_5 and SHA-256 (RFC 8017). Throws
// std::runtime_error where CNG fails.
class RsaKey {
 public:
    static RsaKey Generate();
    // `blob` as PrivateBlob gave it.
    static RsaKey FromPrivateBlob(ByteView blob);

    SecretBytes PrivateBlob() const;  // BCRYPT_RSAPRIVATE_BLOB
    // The public key as X.509 holds it, in DER.
    Bytes SubjectPublicKeyInfo() const;
    Bytes Sign(const Digest& hash) const;

 private:
    explicit RsaKey(UniqueCngKey key) noexcept : key_(std::move(key)) {}
    UniqueCngKey key_;
};

}  // namespace kelvor::simulator
