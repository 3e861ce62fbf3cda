#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::trust {

// What all processes that share a log count together.
struct LogCounts {
    LONG lines = 0;
    LONG rotations = 0;
};

// Keeps what the module of this process writes to the log, as it leaves the module, with the number
// that each line has among the lines of all processes. The module waits for its turn as long as
// that takes. The older file that a rotation replaces is copied aside first. Any thread. One object
// at a time.
class LogTape {
 public:
    // `counts` is shared memory; copies go to `folder`.
    LogTape(HMODULE module, LogCounts& counts, const std::wstring& folder);
    ~LogTape();
    LogTape(const LogTape&) = delete;
    LogTape& operator=(const LogTape&) = delete;

    // Whether every line was written in its turn.
    bool EveryLineHadItsTurn() const;
    // Writes the lines to a file of the folder, each behind its number.
    void Save() const;

 private:
    std::vector<simulator::ImportPatch> patches_;
};

// The tapes of a folder as one: the lines of all processes in the order of their numbers.
std::vector<std::string> ReadTapes(const std::wstring& folder);
// The copies of replaced files, in their order.
std::vector<std::wstring> ReplacedFiles(const std::wstring& folder);

}  // namespace kelvor::trust
