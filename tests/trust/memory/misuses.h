#pragma once

#include <string>

namespace kelvor::trust {

// Misuses memory, or does what has no defined behaviour, in the way of that name. What the build
// does not notice ends well.
void Misuse(const std::string& name);

}  // namespace kelvor::trust
