#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lock.h"
#include "world/world.h"

namespace kelvor::simulator {

// Which exchange the service is to misbehave in. Any thread.
class FaultPlan {
 public:
    explicit FaultPlan(std::vector<FaultWorld> faults);

    // Counts one more exchange of `command` and answers the first fault of the plan that it is the
    // turn of.
    std::optional<FaultWorld> Next(const std::string& command);

 private:
    struct Entry {
        FaultWorld fault;
        unsigned seen = 0;  // exchanges so far that its command fits
    };
    Lock lock_;
    std::vector<Entry> entries_;
};

}  // namespace kelvor::simulator
