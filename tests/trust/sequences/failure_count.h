#pragma once

#include <cstddef>

namespace kelvor::trust {

// How many assertions of this process have failed so far, those of the stage among them.
std::size_t FailureCount() noexcept;

}  // namespace kelvor::trust
