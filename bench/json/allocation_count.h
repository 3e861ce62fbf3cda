#pragma once

#include <cstddef>

namespace kelvor::bench {

// How many blocks `new` has handed out in this program so far.
std::size_t AllocationCount() noexcept;

}  // namespace kelvor::bench
