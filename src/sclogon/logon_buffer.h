#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "fido/pending_tap.h"
#include "sclogon/logon_handover.h"
#include "secret.h"

namespace kelvor {

// Whom to sign in, and with what.
struct LogonRequest {
    std::wstring tileDomain;
    std::wstring tileUser;
    std::wstring preArmedUpn;   // not empty: provisioning has armed the card for this account
    const SecretText& authPin;  // of the security key
    PendingTap* pendingTap = nullptr;  // a tap that was already taken; may be null
    std::function<void()> progress;    // called once, right before the card is armed
};

// The last step before LogonUI: arms the card, finds it with its reader, container and account, and
// packs the KERB_CERTIFICATE_LOGON that LSA's Kerberos package reads. `resolvedUpn` is the account
// that the card was armed for; it may be set on failure, too. On failure `handover` is empty and
// `reason` is for the user. Blocks for the tap and the card; the sign-in's thread only.
[[nodiscard]] HRESULT BuildCertificateLogon(const LogonRequest& request, LogonHandover& handover,
                                            std::wstring& reason, std::wstring& resolvedUpn);

}  // namespace kelvor
