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

// Whether freed blocks count in `heapBytes`: some heaps keep them, by the dozen, for the next
// blocks of their size, and show such a dozen as one block in use. How many they keep depends on
// how threads meet. Found out by the first call, which has to come before much was taken and freed.
bool FreedBlocksCount();

}  // namespace kelvor::trust
