#pragma once

#include <windows.h>

#include <unknwn.h>

#include <string>

namespace kelvor::test {

// The shipped DLL, loaded as LogonUI loads it, together with a security-key library whose
// functions only matter until a FakeKey replaces them. Throws std::runtime_error when a file is
// missing or an export is.
class ModuleUnderTest {
 public:
    ModuleUnderTest();
    ~ModuleUnderTest();
    ModuleUnderTest(const ModuleUnderTest&) = delete;
    ModuleUnderTest& operator=(const ModuleUnderTest&) = delete;

    HMODULE Handle() const noexcept { return module_; }
    HRESULT GetClassObject(REFCLSID classId, REFIID riid, void** object) const;
    HRESULT CanUnloadNow() const;

    // Path of the DLL file: that of this build, unless the environment variable KELVOR_MODULE names
    // another one.
    static std::wstring File();

 private:
    HMODULE keyLibrary_ = nullptr;
    HMODULE module_ = nullptr;
    HRESULT(WINAPI* getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
    HRESULT(WINAPI* canUnloadNow_)() = nullptr;
};

}  // namespace kelvor::test
