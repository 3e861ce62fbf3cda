#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::bench {

using Counts = std::map<std::string, std::uint64_t>;

// Counts, while it lives, how often a module calls what it imports of Windows: those functions that
// reach beyond the process or hand out what lives there. What is between the module and its own
// memory, its locks and the C runtime, is not counted, but for the opening and closing of files.
class CallCounts {
 public:
    explicit CallCounts(HMODULE module);
    ~CallCounts();
    CallCounts(const CallCounts&) = delete;
    CallCounts& operator=(const CallCounts&) = delete;

    // Since it was made, by name; what was not called is not in it.
    Counts Take() const;

 private:
    struct Thunk;
    Thunk* thunks_;
    std::vector<std::string> functions_;
    std::vector<simulator::ImportPatch> patches_;
};

// Ends with NotTheSameWork, naming each function that was called more often on one side.
void RequireSameCalls(const Counts& module, const Counts& bare);

}  // namespace kelvor::bench
