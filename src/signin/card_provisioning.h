#pragma once

#include <string>

#include "secret.h"
#include "signin/sign_in_tile.h"

namespace kelvor {

// With the FIDO gate off the card service owns the card. Makes sure that this PC has one: asks the
// service, or looks into the reader when it does not answer, and has it provision a card when there
// is none; the service then performs the tap and arms the card for the account it names in `upn`
// (which stays empty when the card was there already). False when the card could not be set up; the
// reason is on the tile. Blocks for the tap and the card's settling.
bool EnsureCardIsProvisioned(SignInTile& tile, const SecretText& pin, std::wstring& upn);

}  // namespace kelvor
