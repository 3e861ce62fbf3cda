#pragma once

#include <windows.h>

#include <string>

#include "handle.h"

namespace kelvor {

// The machine-wide configuration: `HKLM\SOFTWARE\KelvorDirectoryFidoLogon\SmartCard`, which an
// administrator writes and the module only reads. Nothing is kept: each function reads the registry
// anew, so that a change counts from the next sign-in on. Any thread may call. No function fails:
// what is missing, has another type or is too long reads as its default.

inline constexpr const wchar_t* kEnabledValue = L"Enabled";
inline constexpr const wchar_t* kFidoGateValue = L"FidoGate";
inline constexpr const wchar_t* kFidoServerUrlValue = L"FidoServerUrl";
inline constexpr const wchar_t* kFidoRpIdValue = L"FidoRpId";
inline constexpr const wchar_t* kFidoDevInsecureTlsValue = L"FidoDevInsecureTls";
inline constexpr const wchar_t* kCspValue = L"Csp";
inline constexpr const wchar_t* kReaderValue = L"Reader";
inline constexpr const wchar_t* kContainerValue = L"Container";
inline constexpr const wchar_t* kContainerUpnValue = L"ContainerUpn";

inline constexpr const wchar_t* kDefaultCsp = L"Microsoft Base Smart Card Crypto Provider";
inline constexpr const wchar_t* kDefaultReader = L"Kelvor Virtual Smart Card Reader";

struct SettingsKeyPolicy {
    using Handle = HKEY;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using SettingsKey = Unique<SettingsKeyPolicy>;

// Empty when the key does not exist or may not be read: the PC was not set up.
SettingsKey OpenSettingsKey();

// True only for a REG_DWORD other than 0.
bool ReadSettingFlag(const wchar_t* name);
// A REG_SZ of up to 511 characters.
std::wstring ReadSettingString(const wchar_t* name, const wchar_t* defaultValue);

// The same of a key that is open already; a string may have 1,023 characters and is empty when it
// is missing.
bool ReadKeyFlag(HKEY openKey, const wchar_t* name);
std::wstring ReadKeyString(HKEY openKey, const wchar_t* name);

// Whether the card is armed by an assertion of the security key. Off means that the card service
// owns the card and sets it up.
bool IsFidoGateOn();

// Where the card service provisions this PC, without slashes at its end; "https://localhost" when
// none is set. A REG_EXPAND_SZ is taken as it is written. Any length.
std::wstring ReadServerBaseUrl();
// The relying party for provisioning, up to 255 characters; empty when none is set.
std::wstring ReadProvisioningRpId();

}  // namespace kelvor
