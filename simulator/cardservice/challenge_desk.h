#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "crypto/bytes.h"
#include "crypto/rsa.h"
#include "lock.h"

namespace kelvor::simulator {

// A challenge for one tap. The security key signs `clientDataHash`, which binds the tap to a
// certificate request: it is SHA-256 of "Kelvor challenge", a zero byte, the nonce, SHA-256 of the
// request (PKCS #10, DER) and the rpId. When the tap provisions a card, the certificate is issued
// for the key of that very request, which is made for this challenge alone.
struct Challenge {
    Bytes nonce;  // 32 random bytes
    Digest clientDataHash{};
    std::string rpId;
    std::shared_ptr<const RsaKey> requestedKey;
};

// Issues challenges, each good for one use and a limited time. Any thread.
class ChallengeDesk {
 public:
    enum class Verdict { kGood, kUnknown, kExpired };

    ChallengeDesk(std::string requestName, DWORD lifetimeMs);

    // Throws std::runtime_error.
    Challenge Issue(const std::string& rpId);
    // Takes a challenge back; a second time it is unknown.
    Verdict Redeem(ByteView nonce, Challenge& challenge);
    // Forgets every challenge, as a service that starts anew has.
    void Forget();

 private:
    struct Issued {
        Challenge challenge;
        std::uint64_t issuedMs;
    };

    const std::string requestName_;
    const DWORD lifetimeMs_;
    Lock lock_;
    std::deque<Issued> issued_;  // oldest first
};

}  // namespace kelvor::simulator
