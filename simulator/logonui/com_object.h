#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace kelvor::simulator {

// IUnknown of an object that serves the interfaces of one inheritance chain. Made with `new` and
// one reference, destroyed with the last.
template <class Interface>
class ComObject : public Interface {
 public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (!IsEqualIID(iid, IID_IUnknown) && !Serves(iid)) {
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

 protected:
    virtual ~ComObject() = default;
    // Whether `iid`, other than IUnknown, names an interface of the chain.
    virtual bool Serves(REFIID iid) const noexcept = 0;

 private:
    std::atomic<ULONG> references_{1};
};

}  // namespace kelvor::simulator
