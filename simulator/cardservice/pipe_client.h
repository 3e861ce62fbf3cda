#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "secret.h"

namespace kelvor::simulator {

// Sends one line over a fresh connection to a pipe and returns the answer line; neither has its
// line feed. Waits up to `timeoutMs` for a free instance and again for the whole answer. Throws
// std::runtime_error saying what failed. The request is no secret.
SecretText ExchangeLine(const wchar_t* pipeName, std::string_view line, DWORD timeoutMs);

}  // namespace kelvor::simulator
