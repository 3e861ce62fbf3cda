// The module without memory: whatever cannot be had is left out, and nothing is lost.
#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::ComRef;
using kelvor::simulator::ImportPatch;
using kelvor::test::FakeUserArray;
using kelvor::test::ModuleUnderTest;
using kelvor::test::Stage;
using kelvor::test::User;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

std::atomic<long> allocationsUntilFailure{-1};  // negative: none fails

void* AllocateUnlessScarce(std::size_t sizeBytes)
{
    return allocationsUntilFailure-- == 0 ? nullptr : std::malloc(sizeBytes);
}

// Lets one allocation of the module fail.
class ScarceMemory {
 public:
    explicit ScarceMemory(const ModuleUnderTest& module)
        : patch_(module.Handle(), "malloc", &AllocateUnlessScarce)
    {
    }
    ~ScarceMemory() { allocationsUntilFailure = -1; }
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;

    // Runs `act` once with its first allocation failing, once with its second, and so on, until a
    // run has none left to fail. Returns the number of runs in which one failed.
    template <class Act>
    static std::size_t Sweep(Act&& act)
    {
        for (std::size_t failing = 0;; ++failing) {
            allocationsUntilFailure = static_cast<long>(failing);
            act();
            if (allocationsUntilFailure.exchange(-1) >= 0) {
                return failing;
            }
        }
    }

 private:
    ImportPatch patch_;
};

HRESULT MakeProvider(const ModuleUnderTest& module, ComRef<ICredentialProvider>& provider)
{
    ComRef<IClassFactory> factory;
    const HRESULT hr = module.GetClassObject(kProviderClass, IID_IClassFactory,
                                             reinterpret_cast<void**>(factory.Receive()));
    return FAILED(hr) ? hr
                      : factory->CreateInstance(nullptr, IID_ICredentialProvider,
                                                reinterpret_cast<void**>(provider.Receive()));
}

}  // namespace

TEST_CASE("Without memory for it there is no class factory and no provider")
{
    Stage stage;
    const ScarceMemory memory(stage.Module());
    std::vector<HRESULT> results;
    const std::size_t failures = ScarceMemory::Sweep([&] {
        ComRef<ICredentialProvider> provider;
        results.push_back(MakeProvider(stage.Module(), provider));
        CHECK(static_cast<bool>(provider) == SUCCEEDED(results.back()));
    });
    CHECK(failures == 2);
    CHECK(results == std::vector<HRESULT>{E_OUTOFMEMORY, E_OUTOFMEMORY, S_OK});
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("Wherever memory ends while the tiles are built, LogonUI gets those that could be")
{
    Stage stage;
    const auto users = FakeUserArray::Make({User{}});
    const ScarceMemory memory(stage.Module());
    std::vector<DWORD> counts;
    const std::size_t failures = ScarceMemory::Sweep([&] {
        const long failing = allocationsUntilFailure.exchange(-1);
        ComRef<ICredentialProvider> provider;
        REQUIRE(MakeProvider(stage.Module(), provider) == S_OK);
        ComRef<ICredentialProviderSetUserArray> list;
        REQUIRE(provider->QueryInterface(IID_ICredentialProviderSetUserArray,
                                         reinterpret_cast<void**>(list.Receive())) == S_OK);
        REQUIRE(list->SetUserArray(users.Get()) == S_OK);
        REQUIRE(provider->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
        DWORD count = 9;
        DWORD defaultTile = 9;
        BOOL autoLogon = TRUE;
        allocationsUntilFailure = failing;
        CHECK(provider->GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
        CHECK(defaultTile == CREDENTIAL_PROVIDER_NO_DEFAULT);
        CHECK(autoLogon == FALSE);
        counts.push_back(count);
    });
    CHECK(failures > 2);
    CHECK(counts.size() == failures + 1);
    CHECK(counts.back() == 2);
    CHECK(std::ranges::count(counts, DWORD{1}) > 0);  // a tile short
    CHECK(users->References() == 1);
    CHECK(FakeUserArray::LivingUsers() == 0);
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}
