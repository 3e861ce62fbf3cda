#pragma once

#include "credential_provider.h"

#include <cstddef>

namespace kelvor::bench {

class BareTiles;

BareTiles* Enumerate(ICredentialProviderUserArray* users);
std::size_t TileCount(const BareTiles& tiles);
std::size_t ReadFields(BareTiles& tiles, std::size_t tile);
void DropTiles(BareTiles* tiles);

}  // namespace kelvor::bench
