#pragma once

#include <windows.h>

#include "signin/sign_in_tile.h"

namespace kelvor {

// Ends a sign-in with LSA's answer: logs it, closes the card's sign gate whatever the answer, and
// puts a failure in plain words on the tile, ready for another try. LogonUI's thread; waits for the
// card service at most for its connection and 3 s of silence.
void ReportSignInResult(SignInTile& tile, LONG status, LONG substatus);

}  // namespace kelvor
