#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "com_ref.h"
#include "credential_provider.h"
#include "world/world.h"

namespace kelvor::simulator {

// One user as the sign-in screen lists it.
struct ScreenUser {
    std::wstring qualifiedName;  // DOMAIN\user; empty: the user has no such property
    std::wstring sid;
    GUID identityProvider = {};
};

// What the screen tells the provider of its users.
struct ScreenUsers {
    UserList list = UserList::kListed;
    std::vector<ScreenUser> users;  // with UserList::kListed and kMany
};

// Makes the user list that a provider is given. Its objects count their references like any COM
// object: they live as long as the provider holds them. Any thread.
ComRef<ICredentialProviderUserArray> MakeUserArray(const std::vector<ScreenUser>& users);

}  // namespace kelvor::simulator
