// The module's entry points: what Windows finds by name.
#include <windows.h>

#include "com_ref.h"
#include "guarded.h"
#include "module/class_factory.h"
#include "module_lifetime.h"

#ifdef __GLIBCXX__
namespace __gnu_cxx {
void __freeres();  // NOLINT(readability-identifier-naming): the runtime's name.
}
#endif

namespace {

// The C++ library keeps memory for exceptions that are thrown when there is none, and does not give
// it back by itself when a module that holds the library is unloaded.
void FreeRuntimeMemory() noexcept
{
#ifdef __GLIBCXX__
    __gnu_cxx::__freeres();
#endif
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        FreeRuntimeMemory();
    }
    kelvor::SetModuleInstance(instance);
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv)
{
    if (kelvor::AnyNull(ppv)) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (rclsid != kelvor::kProviderClassId) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return kelvor::Guarded([&] {
        const auto factory =
            kelvor::ComRef<kelvor::CClassFactory>::Adopt(new kelvor::CClassFactory());
        return factory->QueryInterface(riid, ppv);
    });
}

STDAPI DllCanUnloadNow()
{
    return kelvor::HasModuleObjects() ? S_FALSE : S_OK;
}
