#pragma once

#include <span>
#include <string>

namespace kelvor {

// Sixteen hexadecimal digits of the SHA-256 of a secret, by which the log shows whether two taps
// gave the same; "(unavailable)" for no bytes and when hashing fails.
[[nodiscard]] std::string HmacFingerprint(std::span<const unsigned char> secret);

}  // namespace kelvor
