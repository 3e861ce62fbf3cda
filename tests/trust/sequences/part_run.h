#pragma once

#include <cstdint>
#include <optional>

#include "shrink.h"

namespace kelvor::trust {

// A process of this program that plays a part of one sequence, so that a crash or an endless wait
// is a failure like another. True when it failed.
bool PartFails(std::uint64_t index, const Places& part);

// In such a process: the part that it is to play; nothing in any other.
std::optional<Places> PartToPlay();

}  // namespace kelvor::trust
