#include "provider/provider.h"

#include <shlwapi.h>

#include "diag/log.h"
#include "guarded.h"
#include "provider/field_table.h"

namespace kelvor {

IFACEMETHODIMP CProvider::QueryInterface(REFIID riid, void** object)
{
    static const QITAB kInterfaces[] = {
        {&IID_ICredentialProvider, static_cast<int>(OFFSETOFCLASS(ICredentialProvider, CProvider))},
        {&IID_ICredentialProviderSetUserArray,
         static_cast<int>(OFFSETOFCLASS(ICredentialProviderSetUserArray, CProvider))},
        {},
    };
    return QISearch(this, kInterfaces, riid, object);
}

IFACEMETHODIMP_(ULONG) CProvider::Release()
{
    const ULONG left = --references_;
    if (left == 0) {
        delete this;
    }
    return left;
}

IFACEMETHODIMP CProvider::SetUsageScenario(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario,
                                           DWORD /*flags*/)
{
    switch (scenario) {
        case CPUS_LOGON:
        case CPUS_UNLOCK_WORKSTATION:
            LogInfo("SetUsageScenario: cpus=%d", static_cast<int>(scenario));
            scenario_ = scenario;
            mustEnumerate_ = true;
            return S_OK;
        case CPUS_CHANGE_PASSWORD:
        case CPUS_CREDUI:
            return E_NOTIMPL;
        default:
            return E_INVALIDARG;
    }
}

IFACEMETHODIMP CProvider::SetSerialization(
    const CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* /*serialization*/)
{
    return E_NOTIMPL;
}

IFACEMETHODIMP CProvider::Advise(ICredentialProviderEvents* events, UINT_PTR context)
{
    SetSink(events, context);
    LogInfo("Advise: provider event sink %s (%zu existing tile(s) updated).",
            events != nullptr ? "installed" : "cleared", tiles_.size());
    return S_OK;
}

IFACEMETHODIMP CProvider::UnAdvise()
{
    SetSink(nullptr, 0);
    return S_OK;
}

IFACEMETHODIMP CProvider::GetFieldDescriptorCount(DWORD* count)
{
    if (AnyNull(count)) {
        return E_POINTER;
    }
    *count = SFI_COUNT;
    return S_OK;
}

IFACEMETHODIMP CProvider::GetFieldDescriptorAt(DWORD index,
                                               CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR** descriptor)
{
    if (AnyNull(descriptor)) {
        return E_POINTER;
    }
    return CopyFieldDescriptor(index, descriptor);
}

IFACEMETHODIMP CProvider::GetCredentialCount(DWORD* count, DWORD* defaultIndex, BOOL* autoLogon)
{
    if (AnyNull(count, defaultIndex, autoLogon)) {
        return E_POINTER;
    }
    *defaultIndex = CREDENTIAL_PROVIDER_NO_DEFAULT;
    *autoLogon = FALSE;
    Shielded([&] { EnumerateIfNeeded(); });
    *count = static_cast<DWORD>(tiles_.size());
    for (DWORD index = 0; index < *count; ++index) {
        if (tiles_[index]->AwaitsCollection()) {
            *defaultIndex = index;
            *autoLogon = TRUE;
            LogInfo(
                "GetCredentialCount: tile %lu finished its sign-in -- asking LogonUI to collect the credential (default=%lu autoLogon=1).",
                index, index);
            break;
        }
    }
    LogInfo("GetCredentialCount: count=%lu default=%ld autoLogon=%d", *count, *defaultIndex,
            *autoLogon);
    return S_OK;
}

IFACEMETHODIMP CProvider::GetCredentialAt(DWORD index, ICredentialProviderCredential** credential)
{
    if (AnyNull(credential)) {
        return E_POINTER;
    }
    *credential = nullptr;
    const HRESULT hr = index < tiles_.size()
                           ? tiles_[index]->QueryInterface(IID_ICredentialProviderCredential,
                                                           reinterpret_cast<void**>(credential))
                           : E_INVALIDARG;
    LogInfo("GetCredentialAt: index=%lu of %zu hr=0x%08X", index, tiles_.size(), hr);
    return hr;
}

IFACEMETHODIMP CProvider::SetUserArray(ICredentialProviderUserArray* users)
{
    users_ = ComRef<ICredentialProviderUserArray>(users);
    DWORD count = 0;
    if (users != nullptr && FAILED(users->GetCount(&count))) {
        count = 0;
    }
    LogInfo("SetUserArray: %lu user(s) supplied -- re-enumerating tiles.", count);
    mustEnumerate_ = true;
    return S_OK;
}

void CProvider::SetSink(ICredentialProviderEvents* events, UINT_PTR context)
{
    sink_ = {ComRef<ICredentialProviderEvents>(events), context};
    for (const ComRef<CCredential>& tile : tiles_) {
        tile->SetProviderSink(events, context);
    }
}

void CProvider::EnumerateIfNeeded()
{
    if (!mustEnumerate_) {
        return;
    }
    mustEnumerate_ = false;
    // UnAdvise would not reach a tile that lives on in other hands.
    for (const ComRef<CCredential>& tile : tiles_) {
        tile->SetProviderSink(nullptr, 0);
    }
    tiles_.clear();
    if (scenario_ == CPUS_LOGON || scenario_ == CPUS_UNLOCK_WORKSTATION) {
        tiles_ = EnumerateTiles(scenario_, users_.Get(), sink_);
    }
}

}  // namespace kelvor
