#pragma once

#include <cstddef>

#include "support/stage.h"
#include "trust/support/random.h"

namespace kelvor::trust {

// One visit of a person to the sign-in screen, whatever comes of it: a sign-in that succeeds or is
// refused by anybody who can refuse, keys that come and go, a tile that is looked at and left. The
// stage is as before it afterwards: its tile deselected, no thread of the module running.
void Visit(test::Stage& stage, Random& random);

}  // namespace kelvor::trust
