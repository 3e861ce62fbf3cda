#pragma once

#include <initializer_list>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// SHA-256 of the parts one after another, through CNG. Not for secrets: CNG is free to leave what
// it hashed in memory that it gave back, and Wine's does.
Digest Sha256(std::initializer_list<ByteView> parts);

// HMAC-SHA-256 through CNG. `data` is no secret; neither `key` nor the output is left whole in
// memory by Wine's CNG (looked for in the process: half the key stays, nothing of the output).
SecretBytes HmacSha256(ByteView key, ByteView data);

// Bytes of the system's random number generator.
Bytes RandomBytes(std::size_t sizeBytes);
SecretBytes RandomSecret(std::size_t sizeBytes);

}  // namespace kelvor::simulator
