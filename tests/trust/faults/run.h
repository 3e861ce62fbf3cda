#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "support/tile.h"
#include "trust/faults/fault.h"
#include "trust/faults/fault_desk.h"
#include "trust/faults/roads.h"

namespace kelvor::trust {

// What one way through a sign-in left behind.
struct RunRecord {
    bool struck = false;  // the fault came to pass
    std::optional<test::Answer> credential;
    std::vector<HRESULT> failures;       // that the interfaces answered
    std::optional<std::wstring> status;  // nothing: there was no tile
    std::vector<std::string> complaints;
    std::vector<CallsByThread> calls;

    ULONG kerberos = 0;  // the number that LSA gave
    bool armed = false;  // the service armed a card
    bool disarmed = false;
    bool disarmMissed = false;  // the log says that the disarm failed
    bool reported = false;
    std::size_t clicks = 0;
    std::size_t taps = 0;
    bool wrongPinTried = false;  // another one than the user typed
};

// Walks the road with a module loaded afresh, the fault in its way, and counts what was lent out.
// Where `looksForSecrets`, what is left of the PIN and of the key's secrets is a complaint, too.
RunRecord Run(std::size_t road, std::optional<Fault> fault, bool looksForSecrets);

}  // namespace kelvor::trust
