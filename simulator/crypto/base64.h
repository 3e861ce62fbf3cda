#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// Standard Base64 with padding, on one line. Not for secrets.
std::string Base64Text(ByteView bytes);

// Nothing when the text is no standard Base64. Empty text gives no bytes.
std::optional<Bytes> Base64Bytes(std::string_view text);
// The same into memory that wipes itself.
std::optional<SecretBytes> Base64Secret(std::string_view text);

}  // namespace kelvor::simulator
