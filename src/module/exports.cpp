// The module's entry points: what Windows finds by name.
#include <windows.h>

#include "com_ref.h"
#include "guarded.h"
#include "module/class_factory.h"
#include "module_lifetime.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/)
{
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(instance);
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
