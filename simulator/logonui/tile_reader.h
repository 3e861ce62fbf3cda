#pragma once

#include <vector>

#include "credential_provider.h"
#include "logonui/tile_model.h"

namespace kelvor::simulator {

// Asks a tile for everything that its fields show when the screen lists it, as the sign-in screen
// does, and puts it into `model`. `descriptors` are the provider's fields by id.
void ReadTile(ICredentialProviderCredential& credential, const std::vector<TileField>& descriptors,
              TileModel& model);

}  // namespace kelvor::simulator
