#pragma once

#include "world/world.h"

namespace kelvor::simulator {

// Writes the module's settings into the registry (HKLM) as the world has them; values that the
// world lacks are removed. Throws std::runtime_error.
void WriteSettings(const SettingsWorld& settings);

}  // namespace kelvor::simulator
