#pragma once

#include <windows.h>

#include <string>

#include "secret.h"

namespace kelvor {

// Sends one request line to the card service over a connection of its own and receives one answer
// line, without its line feed. `request` ends with a line feed; when the call returns it holds
// only zeros, whatever the outcome, since requests carry secrets of the security key.
// Blocks up to ten seconds for a free pipe instance and up to `readTimeoutMs` for each byte of the
// answer; not for LogonUI's thread unless it can wait. Reentrant. On failure a line is logged,
// `reason` says why in the user's words and `answer` is empty.
[[nodiscard]] HRESULT CardServiceTransact(SecretText& request, std::string& answer,
                                          DWORD readTimeoutMs, std::wstring& reason);

}  // namespace kelvor
