#pragma once

namespace kelvor {

// What a selected tile asks the user to do.
inline constexpr const wchar_t* kNoKeyPrompt =
    L"Insert your security key or tap it on an NFC reader to continue.";
inline constexpr const wchar_t* kKeyPresentPrompt =
    L"Enter your security key PIN, then click Sign In and touch your key when it flashes.";
inline constexpr const wchar_t* kNfcKeyPrompt =
    L"NFC key detected — enter your PIN, click Sign In, then hold the key on the reader.";
inline constexpr const wchar_t* kPickerPrompt =
    L"Choose which account to sign in as, then click Sign In.";

}  // namespace kelvor
