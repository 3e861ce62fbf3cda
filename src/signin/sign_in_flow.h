#pragma once

#include <windows.h>

#include "signin/sign_in_slot.h"
#include "signin/sign_in_tile.h"

namespace kelvor {

// One Sign In click, from the tile's account to the logon buffer. Blocks for the tap, the card
// service and the card; runs on the sign-in worker or its fallbacks, at most once a tile at a time.
// A refusal puts its reason on the tile and leaves `outcome` without a credential; only an internal
// failure (memory) gives `outcome` a failing result.
void RunSignIn(SignInTile& tile, SignInOutcome& outcome) noexcept;

}  // namespace kelvor
