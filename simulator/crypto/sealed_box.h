#pragma once

#include <optional>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// Encrypts with AES-256-GCM under a key that is used for this box alone. The box is the nonce
// (12 bytes), the tag (16 bytes) and the ciphertext. Throws std::runtime_error where CNG fails.
Bytes SealBox(const SecretBytes& key, ByteView content);

// Nothing when the key is another one or the box was changed.
std::optional<SecretBytes> OpenBox(const SecretBytes& key, ByteView box);

}  // namespace kelvor::simulator
