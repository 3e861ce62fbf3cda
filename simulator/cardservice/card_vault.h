#pragma once

#include <optional>
#include <string>
#include <vector>

#include "crypto/bytes.h"
#include "crypto/rsa.h"
#include "lock.h"

namespace kelvor::simulator {

// A virtual smart card. Texts are UTF-8.
struct VirtualCard {
    std::string upn;        // the account it belongs to
    std::string container;  // of its private key
    Bytes certificate;      // DER
    Bytes credentialId;     // the credential whose hmac-secret output opens it
    Bytes salt;             // of the key that seals it
    Bytes sealedKey;        // the RSA private key
};

// This PC's cards, one for each account, and which of them is in the reader. The private key of a
// card is encrypted under HMAC-SHA-256 of the card's salt, keyed with the hmac-secret output of
// the account's security key: without that output nobody can use it, the service included. Kept in
// a file of the state folder. Any thread.
class CardVault {
 public:
    // Throws std::runtime_error when the file exists and cannot be understood.
    explicit CardVault(const std::wstring& stateFolder);

    bool Empty() const;
    // Removes every card. Throws std::runtime_error when the file cannot be written.
    void Clear();

    std::optional<VirtualCard> Find(const std::string& upn) const;
    // Stores a card with its private key, instead of one that its account has. Throws as Clear.
    void Store(VirtualCard card, const RsaKey& key, const SecretBytes& hmacSecret);
    // Nothing when `hmacSecret` is not the one the card was stored with.
    static std::optional<RsaKey> Open(const VirtualCard& card, const SecretBytes& hmacSecret);

    // Puts an account's card into the reader. True when another account's card was there. Throws
    // as Clear.
    bool PutIntoReader(const std::string& upn);
    std::optional<VirtualCard> InReader() const;

 private:
    std::optional<VirtualCard> FindUnlocked(const std::string& upn) const;
    void Save() const;

    const std::wstring path_;
    Lock lock_;
    std::vector<VirtualCard> cards_;
    std::string inReader_;  // a UPN; empty: the reader is empty
};

}  // namespace kelvor::simulator
