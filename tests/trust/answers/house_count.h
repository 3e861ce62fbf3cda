#pragma once

#include <cstddef>

namespace kelvor::trust {

// What this process holds.
struct HouseCount {
    std::size_t heapBytes = 0;  // in blocks that are not free
    std::size_t heapBlocks = 0;
    std::size_t handles = 0;
};
HouseCount CountHouse();

}  // namespace kelvor::trust
