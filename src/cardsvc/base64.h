#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor {

// Standard Base64 with padding and without line breaks (RFC 4648, section 4). No bytes give an
// empty text. A platform that cannot encode lacks memory for it: std::bad_alloc. The result wipes
// itself, since what the security key answered is encoded with it.
[[nodiscard]] SecretText Base64Encode(std::span<const unsigned char> bytes);

// Decodes standard Base64. On failure `bytes` is empty.
[[nodiscard]] bool Base64Decode(std::string_view text, std::vector<unsigned char>& bytes);

}  // namespace kelvor
