#include "key/authenticator.h"

#include <algorithm>

#include "crypto/ecdsa.h"
#include "crypto/hash.h"
#include "key/codes.h"

namespace kelvor::simulator {

namespace {

// Flags of the authenticator data (CTAP 2.1 and Web Authentication, section 6.1).
constexpr unsigned char kUserPresent = 0x01;
constexpr unsigned char kUserVerified = 0x04;
constexpr unsigned char kHasExtensions = 0x80;

constexpr LONG kWrongPinsPerPower = 3;  // CTAP 2.1, section 6.5.5.7.2
constexpr std::size_t kCredentialIdBytes = 32;
constexpr std::size_t kHmacKeyBytes = 32;

Digest SaltOf(std::string_view rpId)
{
    constexpr unsigned char kSeparator[] = {0};
    return Sha256({ViewOf(std::string_view("Kelvor hmac-secret salt")), kSeparator, ViewOf(rpId)});
}

SecretBytes HmacOutput(const StoredCredential& credential, bool isVerified)
{
    const SecretBytes& key =
        isVerified ? credential.hmacWithVerification : credential.hmacWithoutVerification;
    if (key.Empty()) {
        return {};
    }
    return HmacSha256(ViewOf(key), SaltOf(credential.rpId));
}

// CBOR: a map of one entry, a text of 11 bytes, a byte string of 32.
void AppendExtensionOutput(Bytes& authenticatorData, const SecretBytes& hmacSecret)
{
    constexpr std::string_view kName = "hmac-secret";
    authenticatorData.insert(authenticatorData.end(), {0xA1, 0x6B});
    authenticatorData.insert(authenticatorData.end(), kName.begin(), kName.end());
    authenticatorData.insert(authenticatorData.end(), {0x58, 0x20});
    const SecretBytes pad = RandomSecret(hmacSecret.Size());
    for (std::size_t i = 0; i < hmacSecret.Size(); ++i) {
        authenticatorData.push_back(
            static_cast<unsigned char>(hmacSecret.Data()[i] ^ pad.Data()[i]));
    }
}

SecretBytes CopyOf(const SecretBytes& secret)
{
    SecretBytes copy(secret.Size());
    std::copy_n(secret.Data(), secret.Size(), copy.Data());
    return copy;
}

KeyMemory CopyOf(const KeyMemory& memory)
{
    KeyMemory copy{memory.pinSalt, memory.pinHash, memory.retries, memory.counter, {}};
    for (const StoredCredential& credential : memory.credentials) {
        copy.credentials.push_back({credential.id, credential.rpId, credential.accountName,
                                    credential.displayName, CopyOf(credential.keyParts),
                                    CopyOf(credential.hmacWithVerification),
                                    CopyOf(credential.hmacWithoutVerification)});
    }
    return copy;
}

}  // namespace

Authenticator::Authenticator(KeyWorld behaviour, std::wstring memoryPath,
                             const std::wstring& slotName)
    : behaviour_(std::move(behaviour)),
      memoryPath_(std::move(memoryPath)),
      slot_(slotName, behaviour_.presence)
{
}

int Authenticator::GetAssertions(std::string_view rpId, const Digest& clientDataHash,
                                 const char* pin, std::vector<KeyAnswer>& answers)
{
    answers.clear();
    const KeySlot::Turn turn(slot_);
    if (slot_.Where() == Presence::kNone) {
        return kKeyNotAllowed;
    }
    const int ordered = nextAnswer_.exchange(kKeySuccess);
    if (const int code = ordered != kKeySuccess ? ordered : behaviour_.beginCode;
        code != kKeySuccess) {
        return code;
    }
    KeyMemory memory = Load();
    bool isVerified = false;
    if (const int code = VerifyUser(memory, pin, isVerified); code != kKeySuccess) {
        return code;
    }
    std::vector<const StoredCredential*> applicable;
    for (const StoredCredential& credential : memory.credentials) {
        if (credential.rpId == rpId) {
            applicable.push_back(&credential);
        }
    }
    if (applicable.empty()) {
        return kKeyNoCredentials;
    }
    if (const int code = WaitForTouch(); code != kKeySuccess) {
        return code;
    }
    for (const StoredCredential* credential : applicable) {
        answers.push_back(Answer(*credential, clientDataHash, isVerified, ++memory.counter));
    }
    Save(std::move(memory));
    return kKeySuccess;
}

void Authenticator::Reset(std::string_view pin)
{
    const KeySlot::Turn turn(slot_);
    KeyMemory memory;
    memory.retries = behaviour_.retries;
    SetPin(memory, pin);
    Save(std::move(memory));
    slot_.SetWrongPins(0);
}

std::uint32_t Authenticator::Retries()
{
    const KeySlot::Turn turn(slot_);
    return Load().retries;
}

NewCredential Authenticator::MakeCredential(std::string_view rpId, std::string_view accountName,
                                            std::string_view displayName, bool hmacSecret)
{
    const KeySlot::Turn turn(slot_);
    KeyMemory memory = Load();
    StoredCredential& credential = memory.credentials.emplace_back();
    credential.id = RandomBytes(kCredentialIdBytes);
    credential.rpId = rpId;
    credential.accountName = accountName;
    credential.displayName = displayName;
    credential.keyParts = EcdsaKey::Generate().Parts();
    if (hmacSecret) {
        credential.hmacWithVerification = RandomSecret(kHmacKeyBytes);
        credential.hmacWithoutVerification = RandomSecret(kHmacKeyBytes);
    }
    const ByteView xAndY = ViewOf(credential.keyParts).first(64);
    NewCredential made{credential.id, Bytes(xAndY.begin(), xAndY.end()),
                       HmacOutput(credential, true)};
    Save(std::move(memory));
    return made;
}

KeyMemory Authenticator::Load()
{
    if (!memoryPath_.empty()) {
        return LoadKeyMemory(memoryPath_);
    }
    return volatileMemory_ ? CopyOf(*volatileMemory_) : KeyMemory();
}

void Authenticator::Save(KeyMemory memory)
{
    if (!memoryPath_.empty()) {
        SaveKeyMemory(memoryPath_, memory);
    } else {
        volatileMemory_ = std::move(memory);
    }
}

int Authenticator::VerifyUser(KeyMemory& memory, const char* pin, bool& isVerified)
{
    if (!pin) {
        return behaviour_.withoutPin == WithoutPin::kRefuse ? kKeyPinRequired : kKeySuccess;
    }
    if (memory.pinHash.empty()) {
        return kKeyPinNotSet;
    }
    if (memory.retries == 0) {
        return kKeyPinBlocked;
    }
    if (slot_.WrongPins() >= kWrongPinsPerPower) {
        return kKeyPinAuthBlocked;
    }
    // Counted before the comparison: pulling the key in between must not save an attempt.
    const bool isRight = IsPin(memory, pin);
    memory.retries = isRight ? behaviour_.retries : memory.retries - 1;
    slot_.SetWrongPins(isRight ? 0 : slot_.WrongPins() + 1);
    isVerified = isRight && behaviour_.verifiesUser;
    Save(CopyOf(memory));
    if (isRight) {
        return kKeySuccess;
    }
    if (memory.retries == 0) {
        return kKeyPinBlocked;
    }
    return slot_.WrongPins() >= kWrongPinsPerPower ? kKeyPinAuthBlocked : kKeyPinInvalid;
}

int Authenticator::WaitForTouch()
{
    if (behaviour_.touch == TouchKind::kNow) {
        return kKeySuccess;
    }
    const DWORD touchAfterMs =
        behaviour_.touch == TouchKind::kAfter ? behaviour_.touchDelayMs : INFINITE;
    switch (slot_.WaitForTouch(touchAfterMs, behaviour_.touchTimeoutMs)) {
        case KeySlot::TouchResult::kTouched:
            return kKeySuccess;
        case KeySlot::TouchResult::kRemoved:
            return kKeyReceiveFailed;
        case KeySlot::TouchResult::kTimeout:
            break;
    }
    return kKeyUserActionTimeout;
}

KeyAnswer Authenticator::Answer(const StoredCredential& credential, const Digest& clientDataHash,
                                bool isVerified, std::uint32_t counter) const
{
    const Tamper tamper = behaviour_.tamper;
    KeyAnswer answer;
    answer.credentialId = credential.id;
    answer.accountName = credential.accountName;
    answer.displayName = credential.displayName;
    answer.hmacSecret = HmacOutput(credential, isVerified);

    const std::string rpId = credential.rpId + (tamper == Tamper::kRpId ? ".invalid" : "");
    const Digest rpIdHash = Sha256({ViewOf(rpId)});
    unsigned char flags = tamper == Tamper::kUserPresence ? 0 : kUserPresent;
    flags = static_cast<unsigned char>(flags | (isVerified ? kUserVerified : 0) |
                                       (answer.hmacSecret.Empty() ? 0 : kHasExtensions));
    Bytes& data = answer.authenticatorData;
    data.assign(rpIdHash.begin(), rpIdHash.end());
    data.push_back(flags);
    for (int shift = 24; shift >= 0; shift -= 8) {
        data.push_back(
            static_cast<unsigned char>(tamper == Tamper::kCounter ? 0 : counter >> shift));
    }
    if (!answer.hmacSecret.Empty()) {
        AppendExtensionOutput(data, answer.hmacSecret);
    }

    const Digest hash = Sha256({ByteView(data), ByteView(clientDataHash)});
    answer.signature = EcdsaKey::FromParts(ViewOf(credential.keyParts)).Sign(hash);
    if (tamper == Tamper::kSignature) {
        answer.signature.back() ^= 1;
    }
    if (tamper == Tamper::kHmacSecret && !answer.hmacSecret.Empty()) {
        answer.hmacSecret.Data()[0] ^= 1;
    }
    return answer;
}

}  // namespace kelvor::simulator
