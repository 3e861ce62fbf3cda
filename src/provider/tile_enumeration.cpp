#include "provider/tile_enumeration.h"

#include <cwchar>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "diag/log.h"
#include "guarded.h"
#include "lock.h"
#include "provider/account_classification.h"

namespace kelvor {
namespace {

// A user as LogonUI describes it, read once.
struct ListedUser {
    ComRef<ICredentialProviderUser> user;
    TaskString name;  // DOMAIN\user; null when there is none
    GUID providerId{};
};

HRESULT ReadUser(ICredentialProviderUserArray* users, DWORD index, ListedUser& listed)
{
    const HRESULT hr = users->GetAt(index, listed.user.Receive());
    if (FAILED(hr)) {
        return hr;
    }
    if (!listed.user) {
        return E_UNEXPECTED;
    }
    if (FAILED(
            listed.user->GetStringValue(PKEY_Identity_QualifiedUserName, listed.name.Receive()))) {
        listed.name.Reset();
    }
    static_cast<void>(listed.user->GetProviderID(&listed.providerId));
    LogInfo("_EnumerateCredentials: user[%lu] '%ls' provider={%08X-%04X-%04X-...} localProvider=%d",
            index, listed.name ? listed.name.Get() : L"(no name)", listed.providerId.Data1,
            listed.providerId.Data2, listed.providerId.Data3,
            listed.providerId == Identity_LocalUserProvider);
    return S_OK;
}

// Not inside the function: the runtime guards the statics of functions with a semaphore that it
// does not close when the module is unloaded.
const Lock kSkippedLock;
std::optional<std::wstring> lastSkippedDomain;

// A list full of accounts of one domain that is not served says so once.
void LogSkipped(std::wstring_view name)
{
    const std::wstring domain(DomainOf(name));
    const bool news = kSkippedLock.With([&] {
        const bool changed =
            !lastSkippedDomain || _wcsicmp(domain.c_str(), lastSkippedDomain->c_str()) != 0;
        lastSkippedDomain = domain;
        return changed;
    });
    if (news) {
        LogInfo("IsAdDomainUser: skipping unsupported account (domain '%ls'; this PC is '%ls')",
                domain.empty() ? L"(none)" : domain.c_str(), ThisPcName());
    }
}

HRESULT CopyUserInto(CCredential& tile, const ListedUser& listed)
{
    const HRESULT initialized = tile.Initialize();
    if (FAILED(initialized)) {
        return initialized;
    }
    tile.SetUserName(listed.name.Get());
    TaskString sid;
    const HRESULT hr = listed.user->GetSid(sid.Receive());
    if (SUCCEEDED(hr) && sid) {
        tile.SetSid(sid.Get());
    }
    return hr;
}

ComRef<CCredential> NewTile(bool otherUser)
{
    return ComRef<CCredential>::Adopt(new (std::nothrow) CCredential(otherUser));
}

class Enumeration {
 public:
    Enumeration(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario, const ProviderSink& sink)
        : scenario_(scenario), sink_(sink)
    {
    }

    void AddUsers(ICredentialProviderUserArray* users);
    void AddOtherUser();
    TileList Finish();

 private:
    HRESULT AddUser(const ListedUser& listed);
    void Append(ComRef<CCredential> tile);

    const CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario_;
    const ProviderSink& sink_;
    TileList tiles_;
    HRESULT result_ = S_OK;
    std::size_t adTiles_ = 0;
    std::size_t skippedNonAd_ = 0;
};

void Enumeration::AddUsers(ICredentialProviderUserArray* users)
{
    if (users == nullptr) {
        result_ = E_UNEXPECTED;
        return;
    }
    DWORD count = 0;
    const HRESULT counted = users->GetCount(&count);
    LogInfo("_EnumerateCredentials: user array has %lu entr(ies) (GetCount hr=0x%08X)", count,
            counted);
    for (DWORD index = 0; index < count && SUCCEEDED(result_); ++index) {
        result_ = Guarded([&] {
            ListedUser listed;
            const HRESULT hr = ReadUser(users, index, listed);
            return SUCCEEDED(hr) ? AddUser(listed) : hr;
        });
    }
}

HRESULT Enumeration::AddUser(const ListedUser& listed)
{
    if (!listed.name || !IsAdDomainUser(listed.name.Get())) {
        if (listed.name) {
            LogSkipped(listed.name.Get());
        }
        ++skippedNonAd_;
        return S_OK;
    }
    ComRef<CCredential> tile = NewTile(false);
    if (!tile) {
        return E_OUTOFMEMORY;
    }
    const HRESULT hr = CopyUserInto(*tile.Get(), listed);
    const std::wstring& user = tile->UserName();
    LogInfo("Initialize: AD tile user='%ls' hr=0x%08X", user.empty() ? L"(null)" : user.c_str(),
            hr);
    if (SUCCEEDED(hr)) {
        Append(std::move(tile));
        ++adTiles_;
    }
    return hr;
}

void Enumeration::AddOtherUser()
{
    ComRef<CCredential> tile = NewTile(true);
    if (!tile) {
        return;
    }
    if (FAILED(tile->Initialize()) ||
        FAILED(tile->SetLargeText(L"Other user — sign in with security key"))) {
        LogWarn("_EnumerateCredentials: Other-user tile init FAILED (not added)");
        return;
    }
    Append(std::move(tile));
    result_ = S_OK;
    LogInfo("_EnumerateCredentials: added Other-user tile");
}

void Enumeration::Append(ComRef<CCredential> tile)
{
    tile->SetProviderSink(sink_.events.Get(), sink_.context);
    tiles_.push_back(std::move(tile));
}

TileList Enumeration::Finish()
{
    LogInfo("_EnumerateCredentials: cpus=%d adTiles=%zu skippedNonAd=%zu totalTiles=%zu hr=0x%08X",
            static_cast<int>(scenario_), adTiles_, skippedNonAd_, tiles_.size(), result_);
    return std::move(tiles_);
}

}  // namespace

TileList EnumerateTiles(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario,
                        ICredentialProviderUserArray* users, const ProviderSink& sink)
{
    Enumeration enumeration(scenario, sink);
    enumeration.AddUsers(users);
    if (scenario == CPUS_LOGON) {
        enumeration.AddOtherUser();
    }
    return enumeration.Finish();
}

}  // namespace kelvor
