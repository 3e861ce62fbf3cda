#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace kelvor::trust {

using Places = std::vector<std::size_t>;

// The smallest part of 0 to `count` - 1 that `stillFails`, as far as leaving out ever smaller runs
// of it finds one; asks at most `mostTries` times.
Places Shrink(std::size_t count, const std::function<bool(const Places&)>& stillFails,
              std::size_t mostTries);

}  // namespace kelvor::trust
