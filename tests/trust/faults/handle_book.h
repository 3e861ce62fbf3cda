#pragma once

#include <windows.h>

#include <cstddef>

namespace kelvor::trust {

// Which handles the module has made by itself: threads, events, mutexes, files and timers of the
// thread pool. Any thread.
class HandleBook {
 public:
    // Notes a module's handles from now on, for good, and forgets those of an earlier one. In front
    // of whatever its import table holds.
    static void Interpose(HMODULE module);
    // Handles that were made since and not closed.
    static std::size_t Outstanding();
};

}  // namespace kelvor::trust
