#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "handle.h"
#include "imports/import_table.h"

namespace kelvor::test {

// Knows the threads that this program starts, so that a test can wait for their end. One object at
// a time; for the test's own thread.
class StartedThreads {
 public:
    StartedThreads();
    ~StartedThreads();
    StartedThreads(const StartedThreads&) = delete;
    StartedThreads& operator=(const StartedThreads&) = delete;

    // Runs `act` when the next thread is asked for, before it starts.
    void BeforeNext(std::function<void()> act) { beforeNext_ = std::move(act); }
    void JoinAll();

 private:
    static HANDLE WINAPI Start(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                               LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                               LPDWORD id);

    std::function<void()> beforeNext_;
    std::vector<UniqueKernelObject> threads_;
    simulator::ImportPatch patch_;
};

}  // namespace kelvor::test
