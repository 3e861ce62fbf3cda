#pragma once

#include "credential_provider.h"

#include "com_ref.h"
#include "module_lifetime.h"
#include "provider/tile_enumeration.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

// The object that LogonUI talks to first: takes the usage scenario and the user list, publishes the
// fields and the tiles, and says which tile's finished sign-in is to be collected. All calls come
// on LogonUI's thread, so that its count is a plain integer. Created with one reference.
class CProvider final : public ICredentialProvider, public ICredentialProviderSetUserArray {
 public:
    CProvider() noexcept = default;
    CProvider(const CProvider&) = delete;
    CProvider& operator=(const CProvider&) = delete;

    IFACEMETHODIMP QueryInterface(REFIID riid, void** object) override;
    IFACEMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    IFACEMETHODIMP_(ULONG) Release() override;

    IFACEMETHODIMP SetUsageScenario(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario,
                                    DWORD flags) override;
    IFACEMETHODIMP SetSerialization(
        const CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* serialization) override;
    IFACEMETHODIMP Advise(ICredentialProviderEvents* events, UINT_PTR context) override;
    IFACEMETHODIMP UnAdvise() override;
    IFACEMETHODIMP GetFieldDescriptorCount(DWORD* count) override;
    IFACEMETHODIMP GetFieldDescriptorAt(DWORD index,
                                        CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR** descriptor) override;
    IFACEMETHODIMP GetCredentialCount(DWORD* count, DWORD* defaultIndex, BOOL* autoLogon) override;
    IFACEMETHODIMP GetCredentialAt(DWORD index,
                                   ICredentialProviderCredential** credential) override;

    IFACEMETHODIMP SetUserArray(ICredentialProviderUserArray* users) override;

 private:
    ~CProvider() = default;

    void SetSink(ICredentialProviderEvents* events, UINT_PTR context);
    void EnumerateIfNeeded();

    ModuleObject counted_;
    ULONG references_ = 1;
    bool mustEnumerate_ = true;
    CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario_ = CPUS_INVALID;
    // The members die in reverse: the tiles first, then the user array, then the sink.
    ProviderSink sink_;
    ComRef<ICredentialProviderUserArray> users_;
    TileList tiles_;
};

}  // namespace kelvor
