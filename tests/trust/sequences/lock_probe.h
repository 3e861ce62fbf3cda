#pragma once

#include <windows.h>

#include "handle.h"
#include "lock.h"

namespace kelvor::trust {

// Proves that a tile's lock is free at this moment: a thread of its own calls a method of the tile
// that takes the lock. One object a process; any thread.
class LockProbe {
 public:
    static LockProbe& OfThisProcess();

    // False when `call` has not returned after five seconds.
    bool Returns(void (*call)(void* subject), void* subject);

 private:
    LockProbe();
    static DWORD WINAPI Thread(void* probe);

    Lock turn_;
    void (*call_)(void*) = nullptr;
    void* subject_ = nullptr;
    UniqueKernelObject asked_;
    UniqueKernelObject done_;
    UniqueKernelObject thread_;
};

}  // namespace kelvor::trust
