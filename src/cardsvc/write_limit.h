#pragma once

#include <windows.h>

#include "handle.h"

namespace kelvor {

struct ThreadpoolTimerPolicy {
    using Handle = PTP_TIMER;
    static Handle Empty() noexcept { return nullptr; }
    // Returns when no callback runs any more.
    static void Close(Handle timer) noexcept;
};

// Limits how long writing to a pipe and flushing it may take while it lives: both wait until the
// other end reads, which need not happen. What still waits then fails with
// ERROR_OPERATION_ABORTED.
class WriteLimit {
 public:
    WriteLimit(HANDLE pipe, DWORD limitMs) noexcept;
    ~WriteLimit() = default;
    WriteLimit(const WriteLimit&) = delete;
    WriteLimit& operator=(const WriteLimit&) = delete;

    // False when there is no memory for a timer. Then nothing must be written: it might never end.
    bool Stands() const noexcept { return static_cast<bool>(timer_); }

 private:
    static void CALLBACK Cancel(PTP_CALLBACK_INSTANCE, PVOID pipe, PTP_TIMER) noexcept;

    const Unique<ThreadpoolTimerPolicy> timer_;
};

}  // namespace kelvor
