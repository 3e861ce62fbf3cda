#pragma once

#include "credential_provider.h"

#include <vector>

#include "com_ref.h"
#include "provider/credential.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

using TileList = std::vector<ComRef<CCredential>>;

// Builds one tile for each Active Directory account of LogonUI's user array, in its order, and at
// the logon screen the "Other user" tile behind them. `users` may be null. Failures are logged and
// end the walk of the array; what was built until then is the answer. LogonUI's thread.
TileList EnumerateTiles(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario,
                        ICredentialProviderUserArray* users, const ProviderSink& sink);

}  // namespace kelvor
