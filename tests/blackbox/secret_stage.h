#pragma once

// A sign-in whose secrets this process knows by their patterns alone, so that a search of all its
// memory finds what the module has left.

#include <windows.h>

#include <bcrypt.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <doctest.h>

#include "imports/import_table.h"
#include "secret.h"
#include "support/memory_scan.h"
#include "support/readable_failures.h"
#include "support/stage.h"

namespace kelvor::test {

inline constexpr std::size_t kPinChars = 48;
inline constexpr std::size_t kHmacBytes = 32;
inline constexpr std::size_t kBase64Chars = 44;
inline constexpr unsigned char kSeedOfAlice = 1;
inline constexpr unsigned char kSeedOfBob = 2;
inline constexpr unsigned char kSeedOfPin = 3;

// The PIN's letters, computed so that no literal of them is in this program.
inline char PinLetter(std::size_t index)
{
    return static_cast<char>('A' + FakeKey::HmacByte(kSeedOfPin, index) % 26);
}

inline unsigned char Base64Letter(unsigned char seed, std::size_t index)
{
    constexpr const char* kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t at = index / 4 * 3;
    unsigned group = 0;
    for (std::size_t i = at; i < at + 3; ++i) {
        group = group << 8 | (i < kHmacBytes ? FakeKey::HmacByte(seed, i) : 0U);
    }
    const bool padding = at + index % 4 > kHmacBytes;
    return static_cast<unsigned char>(padding ? '='
                                              : kLetters[group >> (18 - 6 * (index % 4)) & 0x3F]);
}

inline std::vector<ForbiddenBytes> Secrets()
{
    std::vector<ForbiddenBytes> secrets;
    secrets.emplace_back("the PIN in UTF-8", kPinChars, PinLetter);
    secrets.emplace_back("the PIN in UTF-16", 2 * kPinChars, [](std::size_t i) {
        return static_cast<char>(i % 2 == 0 ? PinLetter(i / 2) : '\0');
    });
    for (const unsigned char seed : {kSeedOfAlice, kSeedOfBob}) {
        secrets.emplace_back("an hmac-secret output", kHmacBytes,
                             [seed](std::size_t i) { return FakeKey::HmacByte(seed, i); });
        secrets.emplace_back("an hmac-secret output in Base64", kBase64Chars,
                             [seed](std::size_t i) { return Base64Letter(seed, i); });
    }
    return secrets;
}

inline void TypeThePin(Stage& stage)
{
    wchar_t pin[kPinChars + 1] = {};
    for (std::size_t i = 0; i < kPinChars; ++i) {
        pin[i] = static_cast<wchar_t>(PinLetter(i));
    }
    stage.TypePin(pin);
    WipeMemory(pin, sizeof pin);
}

// Stands in for the hash behind the log's fingerprints. Wine's own leaves what it hashed in memory
// that it has freed, where a search finds it now and then.
inline NTSTATUS WINAPI HashOfNothing(BCRYPT_ALG_HANDLE, PUCHAR, ULONG, PUCHAR, ULONG, PUCHAR digest,
                                     ULONG sizeBytes)
{
    std::memset(digest, 0, sizeBytes);
    return 0;
}

// A stage on which the secrets are known by their patterns alone.
struct SecretStage : Stage {
    explicit SecretStage(StageOptions options = {}) : Stage(std::move(options))
    {
        service.KeepOnlyCommands();
        char pin[kPinChars] = {};
        for (std::size_t i = 0; i < kPinChars; ++i) {
            pin[i] = PinLetter(i);
        }
        key.SetPin({pin, kPinChars});
        WipeMemory(pin, sizeof pin);
    }

    void SignInWithThePin()
    {
        TypeThePin(*this);
        Click();
        WaitForWorker();
        service.WaitForAllClients();
    }

 private:
    simulator::ImportPatch hash_{Module().Handle(), "BCryptHash", &HashOfNothing};
};

inline void CheckNothingIsLeft(Stage& stage)
{
    const std::vector<ForbiddenBytes> secrets = Secrets();
    CHECK(FindInMemory(secrets) == std::vector<std::string>{});
    const std::string log = stage.log.Bytes();
    REQUIRE_FALSE(log.empty());
    std::vector<std::string> inLog;
    ForbiddenSearch(secrets).Look(reinterpret_cast<const unsigned char*>(log.data()), log.size(),
                                  inLog);
    CHECK(inLog == std::vector<std::string>{});
}

}  // namespace kelvor::test
