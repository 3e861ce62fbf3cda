#include "enrolment/enrolment.h"

#include <cstring>
#include <stdexcept>

#include "cardservice/card_service.h"
#include "cardservice/registration_book.h"
#include "files/whole_file.h"
#include "key/key_client.h"
#include "text/utf8.h"
#include "world/world.h"

namespace kelvor::simulator {

namespace {

// What the key made, until everything is stored.
struct Enrolled {
    Registration registration;
    SecretBytes hmacSecret;
    bool isRegistered = false;
};

std::string VerdictFor(const CredentialWorld& credential)
{
    if (credential.verdict) {
        return ToUtf8(*credential.verdict);
    }
    return credential.hmacSecret ? kEligible : "NoHmacSecret";
}

Enrolled MakeCredential(const World& world, const CredentialWorld& credential, const KeyClient& key)
{
    const std::string rpId = ToUtf8(RelyingPartyOf(world, credential));
    const std::string accountName = ToUtf8(credential.accountName);
    const std::string displayName = ToUtf8(credential.displayName);
    SimKeyCredential made{};
    key.MakeCredential(
        {rpId.c_str(), accountName.c_str(), displayName.c_str(), credential.hmacSecret ? 1 : 0},
        made);
    Enrolled enrolled;
    enrolled.isRegistered = credential.registered;
    enrolled.hmacSecret = SecretBytes(made.hmacSizeBytes);
    std::memcpy(enrolled.hmacSecret.Data(), made.hmac, made.hmacSizeBytes);
    WipeMemory(made.hmac, sizeof(made.hmac));

    Registration& registration = enrolled.registration;
    registration.credentialId.assign(std::begin(made.id), std::end(made.id));
    registration.publicXAndY.assign(std::begin(made.publicX), std::end(made.publicX));
    registration.publicXAndY.insert(registration.publicXAndY.end(), std::begin(made.publicY),
                                    std::end(made.publicY));
    registration.rpId = rpId;
    registration.upn = ToUtf8(credential.upn);
    registration.commonName = displayName.empty() ? registration.upn : displayName;
    registration.verdict = VerdictFor(credential);
    return enrolled;
}

std::vector<Registration> RegisteredOf(const std::vector<Enrolled>& enrolled)
{
    std::vector<Registration> registrations;
    for (const Enrolled& entry : enrolled) {
        if (entry.isRegistered) {
            registrations.push_back(entry.registration);
        }
    }
    return registrations;
}

void IssueCards(const std::vector<Enrolled>& enrolled, CardService& service,
                const EnrolmentOptions& options)
{
    for (const Enrolled& entry : enrolled) {
        if (entry.isRegistered && entry.registration.verdict == kEligible &&
            !entry.hmacSecret.Empty()) {
            service.ProvisionCard(entry.registration, RsaKey::Generate(), entry.hmacSecret);
            options.progress("issued the card of " + entry.registration.upn);
        }
    }
}

}  // namespace

void Enrol(const EnrolmentOptions& options)
{
    const World world = options.worldPath.empty() ? DefaultWorld() : LoadWorld(options.worldPath);
    MakeFolder(options.stateFolder);
    const KeyClient key(options.keyLibrary, options.worldPath, options.stateFolder);
    key.Reset(world.key.pin.CStr());
    options.progress(world.key.pin.Empty() ? "the security key is reset and has no PIN"
                                           : "the security key is reset and has its PIN");

    std::vector<Enrolled> enrolled;
    for (const CredentialWorld& credential : world.credentials) {
        enrolled.push_back(MakeCredential(world, credential, key));
        const Registration& made = enrolled.back().registration;
        options.progress(
            "made a credential for " + ToUtf8(credential.accountName) + " at " + made.rpId +
            (credential.registered ? ", registered to " + made.upn + " as " + made.verdict
                                   : ", not registered"));
    }
    RegistrationBook(options.stateFolder).Replace(RegisteredOf(enrolled));
    CardVault(options.stateFolder).Clear();

    CardService service(world, options.stateFolder, {});
    options.progress("the authority's certificate is in ca.cer");
    if (world.card.provisioned) {
        IssueCards(enrolled, service, options);
    }
}

}  // namespace kelvor::simulator
