#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cardservice/assertion_check.h"
#include "cardservice/authority.h"
#include "cardservice/card_vault.h"
#include "cardservice/challenge_desk.h"
#include "cardservice/registration_book.h"
#include "cardservice/sign_gate.h"
#include "json/json.h"
#include "key/key_client.h"
#include "world/world.h"

namespace kelvor::simulator {

// What the card service does: the six commands of its clients and the two of the reader, without
// the pipes. Any thread, several at once; `provision` blocks for the user's touch.
class CardService {
 public:
    // `openKey` gives the security-key library when a provisioning needs it. Throws
    // std::runtime_error when the state folder cannot be used.
    CardService(const World& world, const std::wstring& stateFolder,
                std::function<std::shared_ptr<KeyClient>()> openKey);

    // Answers one request of a client, in JSON without a line feed. A request that makes no sense
    // is refused, as is one that fails inside.
    std::string Answer(const std::string& command, const JsonObject& request);
    // The same for the host of the virtual reader.
    std::string AnswerReader(const std::string& command, const JsonObject& request);

    // Closes the gate when it was idle for too long, and tells so; milliseconds until that can be,
    // or INFINITE.
    DWORD CloseIdleGate(bool& hasClosed) { return gate_.CloseWhenIdle(hasClosed); }
    // Loses what a service holds in memory: challenges and the open gate.
    void Forget();

    // Issues the card of a credential and puts it into the vault, and into the reader while that
    // is empty.
    void ProvisionCard(const Registration& registration, const RsaKey& key,
                       const SecretBytes& hmacSecret);

 private:
    std::string Status();
    std::string IssueChallenge(const JsonObject& request);
    std::string FilterAccounts(const JsonObject& request);
    std::string ArmOrProvision(const JsonObject& request);
    std::string Provision(const JsonObject& request);
    std::string Disarm();
    std::string ShowCard();
    std::string Sign(const JsonObject& request);

    struct Armed {
        std::string upn;
        bool cardSwapped = false;
        bool didProvision = false;
    };
    Armed Arm(const Challenge& challenge, ByteView credentialId, const Assertion& assertion,
              const SecretBytes& hmacSecret);
    Registration RequireEligible(ByteView credentialId) const;
    void RequireServer(const JsonObject& request) const;
    std::string EffectiveRp(const JsonObject& request) const;
    bool IsCardVisible(const VirtualCard& card);

    const CardWorld card_;
    const bool hidesCard_;
    const DWORD settleMs_;
    const std::string server_;
    const std::string defaultRp_;
    const std::function<std::shared_ptr<KeyClient>()> openKey_;
    RegistrationBook registrations_;
    Authority authority_;
    CardVault vault_;
    ChallengeDesk challenges_;
    SignGate gate_;
    Lock arming_;  // held while a card is opened, swapped and armed: one arming at a time
};

}  // namespace kelvor::simulator
