#pragma once

#include <initializer_list>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// SHA-256 (FIPS 180-4) of secrets. Its working memory is its own and wiped; CNG under Wine leaves
// the hashed bytes in freed heap memory, where a search of the process finds them.
Digest SecretSha256(std::initializer_list<ByteView> parts);

}  // namespace kelvor::simulator
