#include "cardservice/card_vault.h"

#include "crypto/base64.h"
#include "crypto/hash.h"
#include "crypto/sealed_box.h"
#include "json/required.h"
#include "json/state_file.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kSaltBytes = 32;

struct Stored {
    std::vector<VirtualCard> cards;
    std::string inReader;
};

Stored StoredOf(const JsonObject& object)
{
    Stored stored;
    stored.inReader = RequiredText(object, "inReader");
    for (const JsonObject& row : RequiredObjects(object, "cards")) {
        VirtualCard& card = stored.cards.emplace_back();
        card.upn = RequiredText(row, "upn");
        card.container = RequiredText(row, "container");
        card.certificate = RequiredBytes(row, "certificate");
        card.credentialId = RequiredBytes(row, "credentialId");
        card.salt = RequiredBytes(row, "salt");
        card.sealedKey = RequiredBytes(row, "sealedKey");
    }
    return stored;
}

SecretBytes SealingKey(const SecretBytes& hmacSecret, const Bytes& salt)
{
    return HmacSha256(ViewOf(hmacSecret), salt);
}

}  // namespace

CardVault::CardVault(const std::wstring& stateFolder) : path_(stateFolder + L"\\cards.json")
{
    if (auto stored = ReadStateFile(path_, StoredOf)) {
        cards_ = std::move(stored->cards);
        inReader_ = std::move(stored->inReader);
    }
}

bool CardVault::Empty() const
{
    return lock_.With([&] { return cards_.empty(); });
}

void CardVault::Clear()
{
    lock_.With([&] {
        cards_.clear();
        inReader_.clear();
        Save();
    });
}

std::optional<VirtualCard> CardVault::Find(const std::string& upn) const
{
    return lock_.With([&] { return FindUnlocked(upn); });
}

void CardVault::Store(VirtualCard card, const RsaKey& key, const SecretBytes& hmacSecret)
{
    card.salt = RandomBytes(kSaltBytes);
    card.sealedKey = SealBox(SealingKey(hmacSecret, card.salt), ViewOf(key.PrivateBlob()));
    lock_.With([&] {
        std::erase_if(cards_, [&](const VirtualCard& other) { return other.upn == card.upn; });
        cards_.push_back(std::move(card));
        Save();
    });
}

std::optional<RsaKey> CardVault::Open(const VirtualCard& card, const SecretBytes& hmacSecret)
{
    const auto blob = OpenBox(SealingKey(hmacSecret, card.salt), card.sealedKey);
    if (!blob) {
        return std::nullopt;
    }
    return RsaKey::FromPrivateBlob(ViewOf(*blob));
}

bool CardVault::PutIntoReader(const std::string& upn)
{
    return lock_.With([&] {
        if (inReader_ == upn) {
            return false;
        }
        const bool wasEmpty = inReader_.empty();
        inReader_ = upn;
        Save();
        return !wasEmpty;
    });
}

std::optional<VirtualCard> CardVault::InReader() const
{
    return lock_.With([&] { return FindUnlocked(inReader_); });
}

std::optional<VirtualCard> CardVault::FindUnlocked(const std::string& upn) const
{
    for (const VirtualCard& card : cards_) {
        if (card.upn == upn) {
            return card;
        }
    }
    return std::nullopt;
}

void CardVault::Save() const
{
    std::vector<JsonWriter> rows;
    for (const VirtualCard& card : cards_) {
        rows.emplace_back()
            .Add("upn", card.upn)
            .Add("container", card.container)
            .Add("certificate", Base64Text(card.certificate))
            .Add("credentialId", Base64Text(card.credentialId))
            .Add("salt", Base64Text(card.salt))
            .Add("sealedKey", Base64Text(card.sealedKey));
    }
    ReplaceWholeFile(path_, JsonWriter().Add("inReader", inReader_).Add("cards", rows).Text());
}

}  // namespace kelvor::simulator
