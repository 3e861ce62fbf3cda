#include "cardservice/challenge_desk.h"

#include <algorithm>

#include "crypto/certificate.h"
#include "crypto/hash.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kNonceBytes = 32;
constexpr std::size_t kMostChallenges = 256;  // so that asking alone cannot fill the memory

}  // namespace

ChallengeDesk::ChallengeDesk(std::string requestName, DWORD lifetimeMs)
    : requestName_(std::move(requestName)), lifetimeMs_(lifetimeMs)
{
}

Challenge ChallengeDesk::Issue(const std::string& rpId)
{
    constexpr unsigned char kSeparator[] = {0};
    Challenge challenge;
    challenge.nonce = RandomBytes(kNonceBytes);
    challenge.rpId = rpId;
    challenge.requestedKey = std::make_shared<const RsaKey>(RsaKey::Generate());
    const Digest requestHash =
        Sha256({ByteView(MakeCertificateRequest(requestName_, *challenge.requestedKey))});
    challenge.clientDataHash =
        Sha256({ViewOf(std::string_view("Kelvor challenge")), kSeparator, ByteView(challenge.nonce),
                ByteView(requestHash), ViewOf(std::string_view(rpId))});
    lock_.With([&] {
        if (issued_.size() == kMostChallenges) {
            issued_.pop_front();
        }
        issued_.push_back({challenge, GetTickCount64()});
    });
    return challenge;
}

ChallengeDesk::Verdict ChallengeDesk::Redeem(ByteView nonce, Challenge& challenge)
{
    return lock_.With([&] {
        const auto found = std::ranges::find_if(issued_, [&](const Issued& issued) {
            return std::ranges::equal(issued.challenge.nonce, nonce);
        });
        if (found == issued_.end()) {
            return Verdict::kUnknown;
        }
        challenge = std::move(found->challenge);
        const bool isExpired = GetTickCount64() - found->issuedMs > lifetimeMs_;
        issued_.erase(found);
        return isExpired ? Verdict::kExpired : Verdict::kGood;
    });
}

void ChallengeDesk::Forget()
{
    lock_.With([&] { issued_.clear(); });
}

}  // namespace kelvor::simulator
