#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::trust {

// How often each method waited for what: "SetDeselected" and "the end of a thread".
using WaitBook = std::map<std::pair<std::string, std::string>, std::size_t>;

namespace waits {
inline constexpr const char* kThreadEnd = "the end of a thread";
inline constexpr const char* kAnswer = "the card service's answer";
inline constexpr const char* kPumping = "the sign-in, pumping";
inline constexpr const char* kPause = "a pause";
inline constexpr const char* kFreePipe = "a free instance of the pipe";
inline constexpr const char* kLogTurn = "the log's turn";
}  // namespace waits

// What a thread of the module waits for that waits for one object, by the limit.
const char* WaitedFor(DWORD limitMs) noexcept;

// Notes one wait of the method that this thread is calling, in the process's book and in `book`.
// Its time is not the method's own.
class NotedWait {
 public:
    explicit NotedWait(const char* what, WaitBook* book = nullptr);
    ~NotedWait();
    NotedWait(const NotedWait&) = delete;
    NotedWait& operator=(const NotedWait&) = delete;

 private:
    std::uint64_t beginUs_;
};

// How long a method waits for that at most, in words; null when nothing prescribes the wait.
const char* BoundOf(const std::string& method, const std::string& what);
// The waits of this process that nothing prescribes, one line each.
std::vector<std::string> UnprescribedWaits();
// A table of those that something does, for the report.
void ReportWaits();

// Notes what the module waits for on LogonUI's thread, which is the one that makes the object. One
// object at a time; on top of the stage's clock, before the module has a thread.
class WaitNotes {
 public:
    explicit WaitNotes(HMODULE module);
    ~WaitNotes();
    WaitNotes(const WaitNotes&) = delete;
    WaitNotes& operator=(const WaitNotes&) = delete;

 private:
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::trust
