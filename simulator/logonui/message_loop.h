#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <utility>

#include "handle.h"
#include "lock.h"

namespace kelvor::simulator {

// The loop of the thread that talks to the provider. Tasks from other threads wait in a queue of
// their own rather than in the thread's message queue: a provider that pumps messages inside one
// of its calls would take a thread message out and lose it.
class MessageLoop {
 public:
    MessageLoop();
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

    // Has the loop's thread run `task`. Any thread.
    void Post(std::function<void()> task);
    // Has the loop's thread look at its condition again. Any thread.
    void Wake() noexcept { SetEvent(wake_.Get()); }

    // Whether a task waits for its turn. Any thread.
    bool HasTasks() const;

    // Has `idle` run on the loop's thread whenever there is nothing left to do for the moment, at
    // least every 50 ms while the loop runs.
    void SetIdle(std::function<void()> idle) { idle_ = std::move(idle); }

    // Runs tasks and window messages until `done` answers true; false when `timeoutMs` passed
    // first. `done` is asked after each task and message and every 50 ms besides, for conditions
    // that nobody signals (a file that grows). Loop thread only.
    bool RunUntil(const std::function<bool()>& done, DWORD timeoutMs);

 private:
    void RunPending();

    UniqueKernelObject wake_;
    std::function<void()> idle_;
    Lock lock_;
    std::deque<std::function<void()>> tasks_;  // under lock_
};

}  // namespace kelvor::simulator
