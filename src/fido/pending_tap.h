#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "secret.h"

namespace kelvor {

// What the key answered for one of its credentials.
struct KeyStatement {
    std::wstring accountName;  // as the key stores it; may be empty
    std::wstring displayName;
    std::vector<unsigned char> credentialId;
    std::vector<unsigned char> authenticatorData;
    std::vector<unsigned char> signature;
    SecretBytes hmacSecret;  // the hmac-secret output: what opens the card of this account
};

// One touch of the key: the challenge it answered and the accounts it can sign in. It is sent to
// the card service at most once. Not locked: whoever owns it keeps other threads away.
struct PendingTap {
    std::wstring serverUrl;
    std::wstring rpId;
    bool insecureTls = false;
    std::string nonce;  // Base64, as the card service sent it
    std::string cdh;    // likewise
    std::vector<KeyStatement> statements;
    std::size_t chosenIndex = 0;  // the statement to arm
    bool valid = false;           // a tap was taken and is not yet spent
};

// Makes a tap unusable: overwrites the key's secrets and the challenge, and drops the statements.
// Server, relying party and the TLS switch stay.
void ScrubPendingTap(PendingTap& tap) noexcept;

}  // namespace kelvor
