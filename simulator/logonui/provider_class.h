#pragma once

#include <windows.h>

namespace kelvor::simulator {

// The class that the provider under test is registered with.
inline constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};
inline constexpr wchar_t kProviderClassText[] = L"{C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}";

}  // namespace kelvor::simulator
