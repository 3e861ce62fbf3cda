#pragma once

// Status texts that several tests expect.

namespace kelvor::test {

inline constexpr const wchar_t* kNoKeyPrompt =
    L"Insert your security key or tap it on an NFC reader to continue.";
inline constexpr const wchar_t* kKeyPresentPrompt =
    L"Enter your security key PIN, then click Sign In and touch your key when it flashes.";
inline constexpr const wchar_t* kTouchPrompt =
    L"Touch your security key now — it should be flashing.";
inline constexpr const wchar_t* kOtherAccount =
    L"That security key is enrolled to a different account. Use the \"Other user\" tile, or the "
    L"tile for the account the key belongs to.";

}  // namespace kelvor::test
