// The least that a C++ COM server is: a class object, objects with a name, and a counter. What it
// weighs is what the toolchain brings.

#include "credential_provider.h"

#include <atomic>
#include <new>
#include <string>

namespace {

std::atomic<long> objects{0};

template <class Interface>
class Counted : public Interface {
 public:
    Counted() noexcept { ++objects; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    IFACEMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    IFACEMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    IFACEMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

 protected:
    virtual ~Counted() { --objects; }

 private:
    std::atomic<ULONG> references_{1};
};

class Object final : public Counted<IUnknown> {
    std::wstring name_ = std::wstring(L"an object with a name").substr(3);
};

class Factory final : public Counted<IClassFactory> {
 public:
    IFACEMETHODIMP CreateInstance(IUnknown*, REFIID, void** object) override
    {
        try {
            *object = new Object();
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    IFACEMETHODIMP LockServer(BOOL) override { return S_OK; }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID, void** object)
{
    try {
        *object = new Factory();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

STDAPI DllCanUnloadNow()
{
    return objects > 0 ? S_FALSE : S_OK;
}
