#pragma once

#include <cstddef>

namespace kelvor::trust {

// Which blocks of the COM task allocator, asked for by anybody in this process from the first call
// of Watch on, have not been freed. Any thread.
class TaskMemorySpy {
 public:
    // Throws std::runtime_error when COM takes no spy.
    static void Watch();
    static std::size_t Outstanding();
};

}  // namespace kelvor::trust
