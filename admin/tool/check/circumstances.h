#pragma once

#include <optional>
#include <string>

#include "cardsvc/commands.h"

namespace kelvor::admin {

// What the checks of one run know of each other: each reads what earlier ones left.
struct Circumstances {
    std::wstring namedUser;   // DOMAIN\name of --user; empty: whoever runs the tool
    std::wstring moduleFile;  // whole path of the registered DLL; empty when none is registered
    std::optional<ServiceStatus> service;  // what the card service answered
    bool cardSeen = false;
    bool domainControllerFound = false;
};

}  // namespace kelvor::admin
