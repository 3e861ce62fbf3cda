#pragma once

#include <windows.h>

#include <vector>

#include "imports/import_table.h"

namespace kelvor::trust {

// Counts the blocks that a module holds of the C runtime's heap, as long as the object lives. The
// stage's own books grow with all that happens on it; this count does not see them. A module that
// has a heap of its own, as one that looks for faults may, counts as holding nothing. Any thread.
// One object at a time.
class ModuleBlocks {
 public:
    explicit ModuleBlocks(HMODULE module);

    // How many more than when the object was made.
    long Held() const noexcept;

 private:
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::trust
