#pragma once

#include <windows.h>

#include <string>

#include "handle.h"
#include "surroundings/clock.h"

namespace kelvor::trust {

// Says which fault was at work when the process dies: by an exception that nobody handles, by an
// abort of the module's runtime, by a call that the table of imports says is never made, or because
// the run does not end for a minute of real time.
class Sentinel {
 public:
    // For the life of the process.
    static void Post();
    // What the module calls to die, and what it must not call, comes here from now on.
    static void Guard(HMODULE module);
    // What is running, for the last words; empty: nothing is.
    static void Announce(const std::string& fault);
};

// Lets the clock run for a run that waits for time to pass. Nobody does so on most roads, unless a
// fault makes him: there the clock stands still for five seconds first, and then goes slowly.
class RunningClock {
 public:
    RunningClock(simulator::Clock& clock, bool atOnce);
    ~RunningClock();
    RunningClock(const RunningClock&) = delete;
    RunningClock& operator=(const RunningClock&) = delete;

 private:
    static DWORD WINAPI Run(void* self);

    simulator::Clock& clock_;
    DWORD patienceMs_;
    DWORD strideMs_;
    UniqueKernelObject stop_;
    UniqueKernelObject thread_;
};

}  // namespace kelvor::trust
