#pragma once

#include <string>

namespace kelvor {

// CTAP2_ERR_PIN_REQUIRED of the FIDO Client to Authenticator Protocol.
inline constexpr int kKeyErrorPinRequired = 0x36;

// What the user can do about a code of the security-key library, as one line for the tile.
[[nodiscard]] std::wstring KeyErrorText(int code);

// The library's own short text for a code; empty, never null, when it has none.
[[nodiscard]] const char* KeyLibraryText(int code) noexcept;

}  // namespace kelvor
