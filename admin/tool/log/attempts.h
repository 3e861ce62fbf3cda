#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "log/log_line.h"

namespace kelvor::admin {

enum class Ending {
    kAccepted,       // LSA took the logon
    kRefused,        // LSA or the domain did not
    kFailed,         // it never came so far
    kAccountChoice,  // the key holds several accounts, and the user was asked which
    kNotReported,    // a credential was built, and no word of LSA's answer follows
    kCutOff,         // the log ends within it
};

struct PhaseTime {
    std::string_view name;
    std::int64_t beginMs = 0;  // since the attempt's begin
    std::int64_t durationMs = 0;
};

// One click on Sign In, as the log tells it.
struct Attempt {
    LogLine first;
    std::int64_t durationMs = 0;
    std::string tile;     // DOMAIN\user of the tile, or "Other user"
    std::string account;  // the UPN that the key resolved to; empty when it came to none
    std::string road;     // "tap", "tap, then choice", "chosen account", "set-up"
    std::vector<PhaseTime> phases;
    Ending ending = Ending::kCutOff;
    std::string code;      // LSA's pair with its name, or the step's HRESULT; empty without one
    std::string shown;     // what the tile said at the end
    std::string evidence;  // the first line that is no INFO, without its time
};

// The attempts in a log, in the order in which they began.
std::vector<Attempt> FindAttempts(const std::vector<LogLine>& lines);

// "accepted", "refused by the domain" ...
std::string_view InWords(Ending ending);

}  // namespace kelvor::admin
