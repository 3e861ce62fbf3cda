#pragma once

#include <string>

#include "trust/faults/fallible.h"

namespace kelvor::trust {

// Whether a status text tells the truth when it is a function of this area that failed.
bool IsTrueRefusal(Area area, const std::wstring& status);

}  // namespace kelvor::trust
