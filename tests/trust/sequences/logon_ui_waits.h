#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "imports/import_table.h"
#include "trust/support/noted_waits.h"

namespace kelvor::trust {

// Stands between the module and its waits, for LogonUI's thread alone, which is the one that makes
// the object: notes them by the method that waits, and lets none of them last. One object at a
// time; on top of the stage's clock.
class LogonUiWaits {
 public:
    struct Callbacks {
        // LogonUI's thread pumps messages in a blocking sign-in: whatever comes in now.
        std::function<void()> onPump;
        // The blocking sign-in came to its end.
        std::function<void()> onPumpEnded;
        // LogonUI's thread waits for somebody who is held: whoever is held goes on.
        std::function<void()> goOn;
        // Whether every other thread of the module is held by something.
        std::function<bool()> isStuck;
        // Whether the card service lets somebody wait.
        std::function<bool()> isHeld;
        std::function<void(DWORD ms)> passTime;
    };
    LogonUiWaits(HMODULE module, Callbacks callbacks);
    ~LogonUiWaits();
    LogonUiWaits(const LogonUiWaits&) = delete;
    LogonUiWaits& operator=(const LogonUiWaits&) = delete;

    const WaitBook& Noted() const noexcept { return noted_; }

 private:
    friend struct LogonUiWaitsEntry;
    DWORD Pump(DWORD count, const HANDLE* handles, DWORD mask, DWORD flags);
    DWORD WaitForEnd(HANDLE handle);
    void GoOnIfStuck();
    DWORD WaitForAnswer(HANDLE handle, DWORD limitMs);
    bool Mine() const noexcept { return GetCurrentThreadId() == threadId_; }

    const DWORD threadId_;
    Callbacks callbacks_;
    WaitBook noted_;
    bool gaveUpPumping_ = false;  // since the last pump, whose thread has not ended
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::trust
