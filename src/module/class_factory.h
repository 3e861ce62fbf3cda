#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace kelvor {

// Creates providers. Does not count as a module object by itself; any thread may hold it. Created
// with one reference.
class CClassFactory final : public IClassFactory {
 public:
    CClassFactory() noexcept = default;
    CClassFactory(const CClassFactory&) = delete;
    CClassFactory& operator=(const CClassFactory&) = delete;

    IFACEMETHODIMP QueryInterface(REFIID riid, void** object) override;
    IFACEMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    IFACEMETHODIMP_(ULONG) Release() override;
    IFACEMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
    IFACEMETHODIMP LockServer(BOOL lock) override;

 private:
    ~CClassFactory() = default;

    std::atomic<ULONG> references_{1};
};

}  // namespace kelvor
