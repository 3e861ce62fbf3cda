#pragma once

// The secrets of a sign-in on a SecretStage, in every form in which they could be left somewhere.
// This process knows them by their patterns alone: nothing here holds one.

#include <cstddef>
#include <vector>

#include "support/memory_scan.h"

namespace kelvor::test {

inline constexpr std::size_t kPinChars = 48;
inline constexpr std::size_t kHmacBytes = 32;
inline constexpr unsigned char kSeedOfAlice = 1;
inline constexpr unsigned char kSeedOfBob = 2;

// The PIN's characters, some of which JSON escapes.
char PinLetter(std::size_t index);

// The PIN and the hmac-secret outputs of alice and bob: as they are, in UTF-16, escaped for JSON,
// in Base64, in hexadecimal digits, reversed, and inside a request line.
const ForbiddenSearch& SecretSearch();

}  // namespace kelvor::test
