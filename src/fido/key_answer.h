#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fido/pending_tap.h"
#include "secret.h"

namespace kelvor {

// The security key's answer to one touch, held in the security-key library until this is destroyed.
class KeyAnswer {
 public:
    KeyAnswer() noexcept = default;
    ~KeyAnswer();
    KeyAnswer(const KeyAnswer&) = delete;
    KeyAnswer& operator=(const KeyAnswer&) = delete;

    // Has the key answer for `rpId` over the 32 bytes of `clientDataHash`; once for each object.
    // An empty `pin` means none. Blocks for the touch. The result is the library's code.
    [[nodiscard]] int Begin(const std::string& rpId,
                            const std::vector<unsigned char>& clientDataHash,
                            const SecretText& pin);

    // How many statements the key gave.
    [[nodiscard]] std::size_t Count() const noexcept { return count_; }

    // Reads the flags of the first statement's authenticator data; false when they cannot be had.
    [[nodiscard]] bool ReadFlags(unsigned char& flags) const;

    // Reads one statement. The result is the library's code; `statement` is of use for 0 only.
    [[nodiscard]] int ReadStatement(std::size_t index, KeyStatement& statement) const;

 private:
    void* handle_ = nullptr;
    std::size_t count_ = 0;
    bool begun_ = false;
};

}  // namespace kelvor
