#include "module/class_factory.h"

#include <shlwapi.h>

#include <new>

#include "com_ref.h"
#include "guarded.h"
#include "module_lifetime.h"
#include "provider/provider.h"

namespace kelvor {

IFACEMETHODIMP CClassFactory::QueryInterface(REFIID riid, void** object)
{
    static const QITAB kInterfaces[] = {
        {&IID_IClassFactory, static_cast<int>(OFFSETOFCLASS(IClassFactory, CClassFactory))},
        {},
    };
    return QISearch(this, kInterfaces, riid, object);
}

IFACEMETHODIMP_(ULONG) CClassFactory::Release()
{
    const ULONG left = --references_;
    if (left == 0) {
        delete this;
    }
    return left;
}

IFACEMETHODIMP CClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object)
{
    if (AnyNull(object)) {
        return E_POINTER;
    }
    if (outer != nullptr) {
        *object = nullptr;
        return CLASS_E_NOAGGREGATION;
    }
    const auto provider = ComRef<CProvider>::Adopt(new (std::nothrow) CProvider());
    return provider ? provider->QueryInterface(riid, object) : E_OUTOFMEMORY;
}

IFACEMETHODIMP CClassFactory::LockServer(BOOL lock)
{
    if (lock) {
        AddModuleObject();
    } else {
        RemoveModuleObject();
    }
    return S_OK;
}

}  // namespace kelvor
