#pragma once

#include <windows.h>

#include <string>

#include "fido/pending_tap.h"
#include "secret.h"

namespace kelvor {

// The first half of a sign-in with the key: fetches a challenge from the card service, has the key
// answer it with one touch and keeps in `tap` the accounts that may sign in here. Nothing is armed.
// `pin` is UTF-8; an empty one means none. Blocks for the service and for the touch. On failure
// `reason` has the text for the user and the tap is not valid and holds no statement.
[[nodiscard]] HRESULT FidoPinBegin(PendingTap& tap, std::wstring& reason, const SecretText& pin);

}  // namespace kelvor
