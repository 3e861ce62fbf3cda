#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "crypto/bytes.h"
#include "lock.h"

namespace kelvor::simulator {

inline constexpr const char* kEligible = "Eligible";

// What the sign-in server knows of a credential. Texts are UTF-8.
struct Registration {
    Bytes credentialId;
    Bytes publicXAndY;  // ECDSA P-256
    std::string rpId;
    std::string upn;            // the account
    std::string commonName;     // of its certificates
    std::string verdict;        // kEligible, or why it cannot sign in
    std::uint32_t counter = 0;  // of its last accepted assertion
};

// The sign-in server's registrations, in a file of the state folder. Any thread.
class RegistrationBook {
 public:
    // Throws std::runtime_error when the file exists and cannot be understood.
    explicit RegistrationBook(const std::wstring& stateFolder);

    // Throws std::runtime_error when the file cannot be written.
    void Replace(std::vector<Registration> registrations);

    std::optional<Registration> Find(ByteView credentialId) const;
    // Accepts a counter that is above the last one; false when it is not. Throws as Replace.
    bool RaiseCounter(ByteView credentialId, std::uint32_t counter);

 private:
    void Save() const;

    const std::wstring path_;
    Lock lock_;
    std::vector<Registration> registrations_;
};

}  // namespace kelvor::simulator
