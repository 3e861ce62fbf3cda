#pragma once

#include <string_view>

namespace kelvor::admin {

// The phase that a message ends, as it is shown to an administrator; empty when it ends none.
std::string_view PhaseEndedBy(std::string_view message);

}  // namespace kelvor::admin
