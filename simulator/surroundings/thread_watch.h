#pragma once

#include <windows.h>

#include <cstddef>
#include <vector>

#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::simulator {

// Knows every thread that the module starts, so that whoever drives it can wait for the end of one
// instead of guessing how long it takes.
class ThreadWatch {
 public:
    explicit ThreadWatch(HMODULE module);
    ~ThreadWatch();
    ThreadWatch(const ThreadWatch&) = delete;
    ThreadWatch& operator=(const ThreadWatch&) = delete;

    // CreateThread; codes are system errors.
    CallBook& Calls() noexcept { return calls_; }

    // Threads started so far; each is known by its number in this order.
    std::size_t Started() const;
    DWORD IdOf(std::size_t thread) const;
    // Waits for the end of one thread, of all from one number on; false after forty seconds.
    bool Join(std::size_t thread) const;
    bool JoinFrom(std::size_t first) const;
    bool HasEnded(std::size_t thread) const;

 private:
    friend struct ThreadWatchEntry;

    CallBook calls_;
    Lock lock_;
    std::vector<HANDLE> threads_;
    std::vector<ImportPatch> patches_;
};

}  // namespace kelvor::simulator
