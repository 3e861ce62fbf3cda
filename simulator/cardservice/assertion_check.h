#pragma once

#include <cstdint>
#include <string>

#include "cardservice/registration_book.h"
#include "crypto/bytes.h"

namespace kelvor::simulator {

// A security key's answer to a challenge, as it reaches the server.
struct Assertion {
    Bytes authenticatorData;
    Bytes signature;
};

// Judges an assertion as a relying party does (Web Authentication, section 7.2): the signature over
// authenticator data and client-data hash, the rpId's hash, the flags for user presence and user
// verification. Empty when it is good, with the counter it carries; otherwise what is wrong.
std::string CheckAssertion(const Registration& registration, const Digest& clientDataHash,
                           const Assertion& assertion, std::uint32_t& counter);

}  // namespace kelvor::simulator
