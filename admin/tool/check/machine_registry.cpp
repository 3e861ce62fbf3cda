#include "check/machine_registry.h"

#include <vector>

namespace kelvor::admin {

std::optional<std::wstring> ReadMachineText(const std::wstring& key, const wchar_t* name)
{
    constexpr DWORD kTexts = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    DWORD sizeBytes = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, kTexts, nullptr, nullptr, &sizeBytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::vector<wchar_t> text(sizeBytes / sizeof(wchar_t) + 1);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, kTexts, nullptr, text.data(),
                     &sizeBytes) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return text.data();
}

bool ReadMachineFlag(const std::wstring& key, const wchar_t* name)
{
    DWORD value = 0;
    DWORD sizeBytes = sizeof value;
    return RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_DWORD, nullptr, &value,
                        &sizeBytes) == ERROR_SUCCESS &&
           value != 0;
}

bool MachineKeyExists(const std::wstring& key)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_QUERY_VALUE, &opened) !=
        ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(opened);
    return true;
}

}  // namespace kelvor::admin
