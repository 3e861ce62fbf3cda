#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "handle.h"
#include "imports/import_table.h"
#include "lock.h"

namespace kelvor::simulator {

// The module's time: GetTickCount, GetTickCount64, Sleep, WaitForSingleObject,
// WaitForMultipleObjects and GetLocalTime, as far as it imports them. Time stands still until
// Advance moves it or the module sleeps: a Sleep takes no real time and moves the clock by its
// length; a wait with a limit ends when its object is signalled or when the clock has passed its
// limit. Waits for mutexes stay real, since other processes hold those. Any thread. One object at
// a time.
class Clock {
 public:
    // `startMs` is the tick count to begin with.
    explicit Clock(HMODULE module, std::uint64_t startMs = 1'000'000);
    ~Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    std::uint64_t NowMs() const;
    void Advance(std::uint64_t ms);
    // Moves the clock as Advance does, but from one end of a wait to the next, in the order in
    // which the waits began where several end at once; goes on when the thread whose wait ended
    // waits again or has ended. So whatever happens in that time happens in the same order in
    // every run. False when a thread does neither for ten seconds.
    bool Pass(std::uint64_t ms);
    // Blocks the calling thread, which need not be the module's, until the clock has moved by so
    // much.
    void WaitFor(DWORD ms);
    // Turns the clock to a tick count without ending any wait.
    void Set(std::uint64_t nowMs);
    // What GetLocalTime answers from now on; nothing for the real time.
    void SetLocalTime(std::optional<SYSTEMTIME> time);

    // Blocks, in real time, until a thread of the module is inside a wait with the limit
    // `limitMs`; false when that has not happened after ten seconds.
    bool WaitForWaiter(DWORD limitMs) const;
    // As WaitForWaiter, then moves the clock just to that wait's end and blocks until the waiting
    // thread has taken notice. False when no such wait came.
    bool EndWait(DWORD limitMs);

    // Whether a thread is inside WaitFor or inside a wait of the module, and its time has not come;
    // of any length, or of the length `limitMs`.
    bool IsWaiting(DWORD threadId, std::optional<DWORD> limitMs = std::nullopt) const;

    // The lengths of the module's Sleep calls so far, and the limits of its finite waits, in order.
    std::vector<DWORD> Sleeps() const;
    std::vector<DWORD> Waits() const;

 private:
    friend struct ClockEntry;
    struct Waiter {
        std::uint64_t id = 0;
        DWORD threadId = 0;
        std::shared_ptr<UniqueKernelObject> thread;
        bool own = false;  // inside WaitFor
        DWORD limitMs = 0;
        std::uint64_t deadlineMs = 0;
        HANDLE wake = nullptr;
    };
    DWORD Wait(DWORD count, const HANDLE* handles, BOOL all, DWORD limitMs);
    DWORD WaitUntilWoken(std::vector<HANDLE> handles, bool own, DWORD limitMs);
    // Moves the clock to the next end of a wait that is not after `limitMs`; nothing when there is
    // none.
    std::optional<Waiter> EndNextWait(std::uint64_t limitMs);
    void Slept(DWORD ms);
    void WakeOverdue() const;

    Lock lock_;
    std::uint64_t nowMs_;
    std::uint64_t nextId_ = 1;
    std::optional<SYSTEMTIME> localTime_;
    std::vector<Waiter> waiters_;
    std::vector<DWORD> sleeps_;
    std::vector<DWORD> waits_;
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
