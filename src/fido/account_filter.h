#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "fido/pending_tap.h"

namespace kelvor {

// Keeps the statements whose accounts the sign-in server accepts. A verdict that cannot be had or
// does not cover every credential refuses nobody: all statements stay and arming decides. Only a
// complete verdict against every credential fails, with E_ACCESSDENIED and the most telling reason;
// the statements are then gone. Blocks for the card service.
[[nodiscard]] HRESULT FilterAccounts(const std::wstring& serverUrl, bool insecureTls,
                                     std::vector<KeyStatement>& statements, std::wstring& reason);

}  // namespace kelvor
