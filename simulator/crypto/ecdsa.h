#pragma once

#include "crypto/bytes.h"
#include "crypto/cng.h"

namespace kelvor::simulator {

// A key pair on P-256 that signs with ECDSA. Throws std::runtime_error where CNG fails.
class EcdsaKey {
 public:
    static EcdsaKey Generate();
    // `parts` is x, y and d, 32 bytes each, as Parts gives them.
    static EcdsaKey FromParts(ByteView parts);

    SecretBytes Parts() const;
    // Ecdsa-Sig-Value in DER.
    Bytes Sign(const Digest& hash) const;

 private:
    explicit EcdsaKey(UniqueCngKey key) noexcept : key_(std::move(key)) {}
    UniqueCngKey key_;
};

// Whether `signature` (DER) over `hash` was made with the public key `xAndY` (64 bytes). False for
// whatever is no signature and no key.
bool VerifyEcdsa(ByteView xAndY, const Digest& hash, ByteView signature);

}  // namespace kelvor::simulator
