#pragma once

#include <windows.h>

namespace kelvor {

// The provider's class identifier, {C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}.
inline constexpr CLSID kProviderClassId = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

// The module's own instance handle, from which its resources are loaded.
void SetModuleInstance(HINSTANCE instance) noexcept;
HINSTANCE ModuleInstance() noexcept;

// What keeps the module loaded: living providers and tiles, and server locks. Any thread.
void AddModuleObject() noexcept;
void RemoveModuleObject() noexcept;
bool HasModuleObjects() noexcept;

// Counts the object it is a member of. Declared first, so that it is the last to go.
class ModuleObject {
 public:
    ModuleObject() noexcept { AddModuleObject(); }
    ~ModuleObject() { RemoveModuleObject(); }
    ModuleObject(const ModuleObject&) = delete;
    ModuleObject& operator=(const ModuleObject&) = delete;
};

}  // namespace kelvor
