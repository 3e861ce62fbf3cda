#include "check/stored_setting.h"

#include <algorithm>
#include <iterator>

#include "settings/settings.h"

namespace kelvor::admin {
namespace {

struct TypeName {
    DWORD type;
    const char* name;
};
constexpr TypeName kTypeNames[] = {
    {REG_NONE, "REG_NONE"},     {REG_SZ, "REG_SZ"},       {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
    {REG_BINARY, "REG_BINARY"}, {REG_DWORD, "REG_DWORD"}, {REG_MULTI_SZ, "REG_MULTI_SZ"},
    {REG_QWORD, "REG_QWORD"},
};

}  // namespace

std::size_t StoredSetting::Chars() const noexcept
{
    const std::size_t stored = sizeBytes / sizeof(wchar_t);
    return stored > 0 ? stored - 1 : 0;
}

StoredSetting ReadStoredSetting(const wchar_t* name)
{
    StoredSetting stored;
    const SettingsKey key = OpenSettingsKey();
    DWORD sizeBytes = 0;
    if (key && RegQueryValueExW(key.Get(), name, nullptr, &stored.type, nullptr, &sizeBytes) ==
                   ERROR_SUCCESS) {
        stored.there = true;
        stored.sizeBytes = sizeBytes;
    }
    return stored;
}

std::string RegistryTypeName(DWORD type)
{
    const auto* const known = std::ranges::find(kTypeNames, type, &TypeName::type);
    return known != std::end(kTypeNames) ? known->name : "type " + std::to_string(type);
}

}  // namespace kelvor::admin
