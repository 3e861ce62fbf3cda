#include "settings/settings.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace kelvor {
namespace {

constexpr const wchar_t* kKeyPath = L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard";

// A string is stored with its terminator; whatever the last character is, it is not text.
template <std::size_t kCapacityChars>
std::optional<std::wstring> QueryString(HKEY key, const wchar_t* name)
{
    std::array<wchar_t, kCapacityChars> text = {};
    DWORD type = REG_NONE;
    DWORD sizeBytes = sizeof text;
    if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &sizeBytes) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return std::nullopt;
    }
    const std::size_t storedChars = sizeBytes / sizeof(wchar_t);
    return std::wstring(text.data(), storedChars > 0 ? storedChars - 1 : 0);
}

// A string of any length, up to its first NUL; empty when there is none.
std::wstring QueryWholeString(HKEY key, const wchar_t* name)
{
    DWORD sizeBytes = 0;
    if (RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &sizeBytes) != ERROR_SUCCESS) {
        return {};
    }
    std::vector<wchar_t> text(sizeBytes / sizeof(wchar_t) + 2);  // NUL-terminated in any case
    DWORD type = REG_NONE;
    if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &sizeBytes) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return {};
    }
    return text.data();
}

}  // namespace

SettingsKey OpenSettingsKey()
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKeyPath, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return {};
    }
    return SettingsKey(key);
}

bool ReadSettingFlag(const wchar_t* name)
{
    const SettingsKey key = OpenSettingsKey();
    return key && ReadKeyFlag(key.Get(), name);
}

std::wstring ReadSettingString(const wchar_t* name, const wchar_t* defaultValue)
{
    const SettingsKey key = OpenSettingsKey();
    const auto text = key ? QueryString<512>(key.Get(), name) : std::nullopt;
    return text ? *text : defaultValue;
}

bool ReadKeyFlag(HKEY openKey, const wchar_t* name)
{
    DWORD value = 0;
    DWORD type = REG_NONE;
    DWORD sizeBytes = sizeof value;
    return RegQueryValueExW(openKey, name, nullptr, &type, reinterpret_cast<BYTE*>(&value),
                            &sizeBytes) == ERROR_SUCCESS &&
           type == REG_DWORD && sizeBytes == sizeof value && value != 0;
}

std::wstring ReadKeyString(HKEY openKey, const wchar_t* name)
{
    return QueryString<1024>(openKey, name).value_or(std::wstring());
}

bool IsFidoGateOn()
{
    return ReadSettingFlag(kFidoGateValue);
}

std::wstring ReadServerBaseUrl()
{
    const SettingsKey key = OpenSettingsKey();
    std::wstring url = key ? QueryWholeString(key.Get(), kFidoServerUrlValue) : std::wstring();
    if (url.empty()) {
        url = L"https://localhost";
    }
    while (!url.empty() && url.back() == L'/') {
        url.pop_back();
    }
    return url;
}

std::wstring ReadProvisioningRpId()
{
    std::array<wchar_t, 257> text = {};
    // The last one stays a NUL, for a value that fills the rest and has none itself.
    DWORD sizeBytes = sizeof text - sizeof(wchar_t);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, kKeyPath, kFidoRpIdValue, RRF_RT_REG_SZ, nullptr,
                     text.data(), &sizeBytes) != ERROR_SUCCESS) {
        return {};
    }
    return text.data();
}

}  // namespace kelvor
