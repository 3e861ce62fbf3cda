#pragma once

#include <windows.h>

#include <cstddef>

namespace kelvor::trust {

// Which blocks the module has from the C runtime: malloc and free; it calls no other.
// Any thread.
class MemoryBook {
 public:
    // Notes the blocks of a module from now on, for good, and forgets those of an earlier one.
    static void Interpose(HMODULE module);
    // Blocks that were handed out since and not given back.
    static std::size_t Outstanding();
};

}  // namespace kelvor::trust
