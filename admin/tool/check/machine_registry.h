#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace kelvor::admin {

// A text of HKEY_LOCAL_MACHINE, REG_SZ or REG_EXPAND_SZ as it stands; nothing when there is none.
// An empty name stands for the default value.
std::optional<std::wstring> ReadMachineText(const std::wstring& key, const wchar_t* name);

// Whether a REG_DWORD other than 0 stands there.
bool ReadMachineFlag(const std::wstring& key, const wchar_t* name);

bool MachineKeyExists(const std::wstring& key);

}  // namespace kelvor::admin
