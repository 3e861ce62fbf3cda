#pragma once

#include <windows.h>

#include <string>

namespace kelvor::admin {

// A value of the module's settings key as it stands in the registry, whatever the module makes of
// it.
struct StoredSetting {
    bool there = false;
    DWORD type = REG_NONE;
    std::size_t sizeBytes = 0;

    // A text's length without its terminator.
    std::size_t Chars() const noexcept;
};
StoredSetting ReadStoredSetting(const wchar_t* name);

// "REG_SZ"
std::string RegistryTypeName(DWORD type);

}  // namespace kelvor::admin
