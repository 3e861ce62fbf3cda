#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/bytes.h"
#include "key/key_memory.h"
#include "key/key_slot.h"
#include "world/world.h"

namespace kelvor::simulator {

// One credential's answer to a tap.
struct KeyAnswer {
    Bytes credentialId;
    Bytes authenticatorData;
    Bytes signature;
    SecretBytes hmacSecret;  // empty for a credential without the extension
    std::string accountName;
    std::string displayName;
};

// A credential that was made, with what its holder has to tell the server.
struct NewCredential {
    Bytes id;
    Bytes publicXAndY;
    SecretBytes hmacSecret;  // as an assertion with user verification will answer it
};

// The security key itself: a FIDO2 authenticator with discoverable credentials and the hmac-secret
// extension. Functions answering int answer a KeyCode; all throw std::runtime_error when the
// key's memory cannot be read or written. Any thread.
//
// The hmac-secret salt of a relying party is SHA-256 of "Kelvor hmac-secret salt", a zero byte and
// the rpId; the output is HMAC-SHA-256 of the salt under the credential's own key, of which there
// are two: one for answers with user verification, one for those without.
//
// The authenticator data carries the extension's output as CTAP does, encrypted for the way from
// the key to the library: {"hmac-secret": <32 bytes>}, the output under a one-time pad that the
// library and the key forget when the tap ends.
class Authenticator {
 public:
    // `memoryPath` empty: the memory lasts as long as the object.
    Authenticator(KeyWorld behaviour, std::wstring memoryPath, const std::wstring& slotName);

    KeySlot& Slot() noexcept { return slot_; }
    const KeyWorld& Behaviour() const noexcept { return behaviour_; }

    // One tap. `pin` null: none was given. Blocks for the touch.
    int GetAssertions(std::string_view rpId, const Digest& clientDataHash, const char* pin,
                      std::vector<KeyAnswer>& answers);

    // The next tap answers `code` at once; 0: what is true.
    void AnswerNext(int code) noexcept { nextAnswer_ = code; }

    void Reset(std::string_view pin);
    std::uint32_t Retries();
    NewCredential MakeCredential(std::string_view rpId, std::string_view accountName,
                                 std::string_view displayName, bool hmacSecret);

 private:
    KeyMemory Load();
    void Save(KeyMemory memory);
    int VerifyUser(KeyMemory& memory, const char* pin, bool& isVerified);
    int WaitForTouch();
    KeyAnswer Answer(const StoredCredential& credential, const Digest& clientDataHash,
                     bool isVerified, std::uint32_t counter) const;

    const KeyWorld behaviour_;
    const std::wstring memoryPath_;
    KeySlot slot_;
    std::atomic<int> nextAnswer_{0};
    std::optional<KeyMemory> volatileMemory_;  // used inside a turn, when there is no path
};

}  // namespace kelvor::simulator
