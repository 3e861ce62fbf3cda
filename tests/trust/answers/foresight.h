#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "trust/answers/card_answers.h"

namespace kelvor::trust {

// What a sign-in with these answers has to come to.
struct Foresight {
    std::vector<std::string> commands;  // what the service is asked, before LogonUI collects
    bool accepted = false;
    std::wstring status;      // what the tile says in the end
    std::string failureLine;  // the beginning of the log line that tells the result; of a failure
    std::string exit;      // the kind of end, for counting: the reason, unless it was the service's
    std::size_t taps = 0;  // how often the key is asked for a touch
    std::string rpId;      // what for
    std::string credentialId;    // whose statement is sent, in Base64; empty when none is
    std::uint64_t passedMs = 0;  // on the module's clock
};
Foresight Foresee(Road road, const CardAnswers& answers);

// What the log says of a disarm that got this answer, and how long that takes.
struct DisarmForesight {
    std::string line;
    std::uint64_t passedMs = 0;
};
DisarmForesight ForeseeDisarm(const CardAnswer& answer);

}  // namespace kelvor::trust
