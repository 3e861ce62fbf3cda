#pragma once

#include "credential_provider.h"

namespace kelvor::bench {

HANDLE StartWatch(HANDLE stop);
void SignIn(HANDLE watch, HANDLE stop, ICredentialProviderEvents* events);

}  // namespace kelvor::bench
