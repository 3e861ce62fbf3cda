#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/bytes.h"

namespace kelvor::simulator {

// A discoverable credential as the key keeps it. Texts are UTF-8.
struct StoredCredential {
    Bytes id;
    std::string rpId;
    std::string accountName;
    std::string displayName;
    SecretBytes keyParts;              // ECDSA P-256: x, y and d
    SecretBytes hmacWithVerification;  // the credential's two hmac-secret keys; empty when it was
    SecretBytes hmacWithoutVerification;  // made without that extension
};

// What the key remembers without power. The PIN is kept as a salted hash only.
struct KeyMemory {
    Bytes pinSalt;
    Bytes pinHash;  // empty: no PIN is set
    std::uint32_t retries = 8;
    std::uint32_t counter = 0;  // of the last assertion
    std::vector<StoredCredential> credentials;
};

// The memory as it lies in the file; a fresh key's when there is no file. Throws
// std::runtime_error when the file cannot be read or holds something else.
KeyMemory LoadKeyMemory(const std::wstring& path);
void SaveKeyMemory(const std::wstring& path, const KeyMemory& memory);

void SetPin(KeyMemory& memory, std::string_view pin);  // empty: none
bool IsPin(const KeyMemory& memory, std::string_view pin);

}  // namespace kelvor::simulator
