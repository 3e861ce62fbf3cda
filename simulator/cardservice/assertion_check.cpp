#include "cardservice/assertion_check.h"

#include <algorithm>

#include "crypto/ecdsa.h"
#include "crypto/hash.h"

namespace kelvor::simulator {

namespace {

// Authenticator data: the rpId's hash, a byte of flags, a 32-bit counter, then what the flags
// announce (Web Authentication, section 6.1).
constexpr std::size_t kFlagsOffset = 32;
constexpr std::size_t kCounterOffset = 33;
constexpr std::size_t kShortestBytes = 37;
constexpr unsigned char kUserPresent = 0x01;
constexpr unsigned char kUserVerified = 0x04;

}  // namespace

std::string CheckAssertion(const Registration& registration, const Digest& clientDataHash,
                           const Assertion& assertion, std::uint32_t& counter)
{
    const Bytes& data = assertion.authenticatorData;
    if (data.size() < kShortestBytes) {
        return "the security key's authenticator data is too short";
    }
    const Digest rpIdHash = Sha256({ViewOf(std::string_view(registration.rpId))});
    if (!std::equal(rpIdHash.begin(), rpIdHash.end(), data.begin())) {
        return "the security key answered for another relying party";
    }
    const Digest signedHash = Sha256({ByteView(data), ByteView(clientDataHash)});
    if (!VerifyEcdsa(registration.publicXAndY, signedHash, assertion.signature)) {
        return "the security key's signature is wrong";
    }
    if ((data[kFlagsOffset] & kUserPresent) == 0) {
        return "the security key was not touched";
    }
    if ((data[kFlagsOffset] & kUserVerified) == 0) {
        return "the security key did not verify its user";
    }
    counter = 0;
    for (std::size_t i = kCounterOffset; i < kShortestBytes; ++i) {
        counter = counter << 8 | data[i];
    }
    return {};
}

}  // namespace kelvor::simulator
