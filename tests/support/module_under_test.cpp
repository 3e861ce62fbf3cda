#include "support/module_under_test.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "support/crash_exit.h"

namespace kelvor::test {
namespace {

// A path of the machine that builds, as Windows spells it: Wine shows its root as drive Z.
std::wstring WindowsPath(const char* path)
{
    std::wstring windows = path[0] == '/' ? L"Z:" : L"";
    for (const char* at = path; *at != '\0'; ++at) {
        windows += *at == '/' ? L'\\' : static_cast<wchar_t>(*at);
    }
    return windows;
}

HMODULE Load(const std::wstring& file, const char* what)
{
    const HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) {
        throw std::runtime_error(std::string(what) + " cannot be loaded, error " +
                                 std::to_string(GetLastError()));
    }
    return module;
}

template <class Function>
Function* Export(HMODULE module, const char* name)
{
    const FARPROC address = GetProcAddress(module, name);
    if (address == nullptr) {
        throw std::runtime_error(std::string("the module does not export ") + name);
    }
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
}

}  // namespace

ModuleUnderTest::ModuleUnderTest()
    // Loaded first: the loader binds the module to a library of that name that is there already.
    : keyLibrary_(Load(WindowsPath(KELVOR_KEY_FILE), "the security-key library")),
      module_(Load(File(), "the module")),
      getClassObject_(
          Export<HRESULT WINAPI(REFCLSID, REFIID, void**)>(module_, "DllGetClassObject")),
      canUnloadNow_(Export<HRESULT WINAPI()>(module_, "DllCanUnloadNow"))
{
    EndProcessOnCrash();
}

ModuleUnderTest::~ModuleUnderTest()
{
    FreeLibrary(module_);
    FreeLibrary(keyLibrary_);
}

HRESULT ModuleUnderTest::GetClassObject(REFCLSID classId, REFIID riid, void** object) const
{
    return getClassObject_(classId, riid, object);
}

HRESULT ModuleUnderTest::CanUnloadNow() const
{
    return canUnloadNow_();
}

std::wstring ModuleUnderTest::File()
{
    const char* const other = std::getenv("KELVOR_MODULE");
    return WindowsPath(other != nullptr ? other : KELVOR_MODULE_FILE);
}

}  // namespace kelvor::test
