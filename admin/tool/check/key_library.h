#pragma once

#include <windows.h>

#include <span>
#include <string>

namespace kelvor::admin {

inline constexpr const wchar_t* kKeyLibraryFile = L"KelvorFidoAdLogonFidoNative.dll";

// The names of the functions that the module imports from the security-key library.
std::span<const char* const> KeyLibraryExports() noexcept;

// The security-key library of the system folder, loaded at the first call and kept until the
// process ends; null when it cannot be loaded, with the thread's last error telling why.
HMODULE KeyLibrary() noexcept;

}  // namespace kelvor::admin
