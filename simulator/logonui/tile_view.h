#pragma once

#include <string>
#include <vector>

#include "logonui/tile_model.h"

namespace kelvor::simulator {

// A tile as text, one UTF-8 line each, framed: what is shown of its fields in the state it is in.
std::vector<std::string> DrawTile(const Tile& tile);

// One line for the list of tiles.
std::string DrawTileSummary(const Tile& tile);

}  // namespace kelvor::simulator
