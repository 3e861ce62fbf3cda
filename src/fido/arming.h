#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "fido/pending_tap.h"
#include "secret.h"

namespace kelvor {

// Whom the card was armed for; everything is empty after a failure.
struct ArmOutcome {
    std::wstring upn;
    bool cardSwapped = false;   // the service loaded the card of another account
    bool didProvision = false;  // that card is new
    std::vector<unsigned char> credentialId;
};

// A touch of the key and the arming of the card in one. Of several accounts on the key the one
// that `tileUser` names is armed; a tile that names nobody gets the first. `progress`, if any, is
// called on this thread once the account is chosen, before the card service is asked. `outcome`
// may be null. Blocks up to two minutes after the touch. On failure `reason` is for the user.
[[nodiscard]] HRESULT FidoPinArm(std::wstring& reason, const SecretText& pin, ArmOutcome* outcome,
                                 const std::wstring& tileUser,
                                 const std::function<void()>& progress);

// Arms the card with one statement of an earlier touch. The tap is spent by this, whatever the
// result.
[[nodiscard]] HRESULT FidoPinComplete(PendingTap& tap, std::size_t index, ArmOutcome* outcome,
                                      std::wstring& reason);

}  // namespace kelvor
