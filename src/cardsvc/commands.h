#pragma once

// The six commands of the card service's protocol. Each is one exchange over the pipe: it blocks,
// holds no state and may run on any thread. A failing call fills `reason` with a short text for
// the user: the service's own where it refused and gave one. A refusal is E_ACCESSDENIED, a broken
// answer E_FAIL, an exchange that did not take place the transport's result.

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor {

struct ServiceStatus {
    bool provisioned = false;  // the PC has a card profile
    bool cardHidden = false;   // the service hides the card while it is not armed
};
[[nodiscard]] HRESULT QueryStatus(ServiceStatus& status, std::wstring& reason);

// The sign-in server that the service is to talk to.
struct SignInServer {
    std::wstring url;
    std::wstring rpId;
    bool insecureTls = false;
};

// What the key is to answer. Both texts stay the Base64 that the service sent, to be sent back.
struct Challenge {
    std::string nonce;
    std::string cdh;    // the client-data hash that the key signs
    std::wstring rpId;  // replaces the configured relying party; empty when the service named none
};
[[nodiscard]] HRESULT RequestChallenge(const SignInServer& server, Challenge& challenge,
                                       std::wstring& reason);

// The server's word on one credential.
struct AccountVerdict {
    std::string credentialId;  // Base64, as the service sent it
    bool eligible = false;
    std::wstring status;  // the code of the refusal
};
// Asks about `credentialIds` (Base64). On success there are as many verdicts as ids, in the
// answer's order; on failure there are none. Without ids the result is E_INVALIDARG.
[[nodiscard]] HRESULT RequestVerdicts(const std::wstring& serverUrl, bool insecureTls,
                                      const std::vector<std::string>& credentialIds,
                                      std::vector<AccountVerdict>& verdicts, std::wstring& reason);

// One statement of the key, to be verified by the service. Everything is Base64; nothing is owned.
struct ArmRequest {
    const SignInServer& server;
    std::string_view nonce;
    std::string_view cdh;
    std::string_view credId;
    std::string_view authData;
    std::string_view signature;
    const SecretText& authValue;  // the key's hmac-secret output: what opens the card
};
struct ArmAnswer {
    std::wstring upn;  // the account that the card is armed for
    bool cardSwapped = false;
    bool didProvision = false;
};
[[nodiscard]] HRESULT ArmOrProvision(const ArmRequest& request, ArmAnswer& answer,
                                     std::wstring& reason);

// Has the service set the PC up for the account of the key, whose tap it takes itself. An empty
// PIN is left out. The server's certificate is always checked: `server.insecureTls` is not sent.
[[nodiscard]] HRESULT ProvisionCard(const SignInServer& server, const SecretText& authPin,
                                    std::wstring& upn, std::wstring& reason);

// Closes the card's sign gate. The outcome is only logged, want of memory included: without it the
// gate closes by itself after the service's idle time.
void DisarmCard() noexcept;

}  // namespace kelvor
