#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kelvor::test {

// COM task memory of this process from the object's making on, as COM itself tells it to a malloc
// spy: who takes a block is to free it once.
class TaskMemoryBook {
 public:
    TaskMemoryBook();

    // The blocks taken since then, by anybody, and not freed: one line each.
    std::vector<std::string> Left() const;
    // Frees since then of what was no block (any more).
    std::size_t StrayFrees() const;

 private:
    std::size_t firstBlock_;
    std::size_t strayFreesBefore_;
};

}  // namespace kelvor::test
