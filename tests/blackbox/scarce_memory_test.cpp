// The module without memory: whatever cannot be had is left out, and nothing is lost.
#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::ComRef;
using kelvor::simulator::ImportPatch;
using kelvor::test::FakeCredential;
using kelvor::test::FakeUserArray;
using kelvor::test::ModuleUnderTest;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::User;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

std::atomic<long> allocationsUntilFailure{-1};  // negative: none fails

void* AllocateUnlessScarce(std::size_t sizeBytes)
{
    return allocationsUntilFailure-- == 0 ? nullptr : std::malloc(sizeBytes);
}

constexpr const wchar_t* kLowOnMemory =
    L"Sign-in failed: this PC is low on memory — restart it and try again";

DWORD logonUiThread = 0;

void* AllocateForLogonUiAlone(std::size_t sizeBytes)
{
    return GetCurrentThreadId() == logonUiThread ? std::malloc(sizeBytes) : nullptr;
}

// Measures a text but does not convert it.
int MeasureOnly(UINT codePage, DWORD flags, LPCSTR text, int sizeBytes, LPWSTR wide, int capacity)
{
    if (wide == nullptr) {
        return MultiByteToWideChar(codePage, flags, text, sizeBytes, wide, capacity);
    }
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
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

TEST_CASE("A sign-in that gets no memory at all is refused and says so")
{
    Stage stage;
    stage.TypePin();
    stage.WaitForProbe();
    logonUiThread = GetCurrentThreadId();
    const ImportPatch patch(stage.Module().Handle(), "malloc", &AllocateForLogonUiAlone);
    stage.SignIn();
    CHECK(stage.Status() == kLowOnMemory);
}

TEST_CASE("A text of the service that cannot be converted is not taken for an empty one")
{
    Stage stage;
    const ImportPatch patch(stage.Module().Handle(), "MultiByteToWideChar", &MeasureOnly);
    stage.SignIn();
    CHECK(stage.Status() == kLowOnMemory);
    CHECK(stage.key.Taps().empty());
}

TEST_CASE("A disarm without memory is noted, and what LSA said is shown")
{
    Stage stage;
    stage.SignIn();
    stage.Collect();
    const ScarceMemory memory(stage.Module());
    allocationsUntilFailure = 0;
    stage.Report(static_cast<LONG>(0xC000005E));
    CHECK(stage.log.Has("WARN",
                        "softcardctl: disarm did not reach the card service (this PC is low on "
                        "memory) - the sign gate will close on its own idle timeout instead."));
    CHECK(stage.Status().starts_with(L"No domain controller could be reached."));
}

TEST_CASE("A picker without memory leaves the PIN in its place")
{
    constexpr long kPlenty = 1'000'000;
    constexpr long kOfPicker = 8;  // the last allocations of a sign-in that ends with it
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.key.SetCredentials({FakeCredential{}, FakeCredential{}});
    stage.TypePin();
    const ScarceMemory memory(stage.Module());
    allocationsUntilFailure = kPlenty;
    stage.SignIn();
    const long used = kPlenty - allocationsUntilFailure.exchange(-1);
    for (long failing = used - kOfPicker; failing <= used; ++failing) {
        stage.Deselect();
        stage.TypePin();
        allocationsUntilFailure = failing;
        stage.SignIn();
        allocationsUntilFailure = -1;
        const auto& screen = stage.TheTile().Events();
        const bool choice =
            screen.State(3) == CPFS_DISPLAY_IN_SELECTED_TILE && screen.ComboItems().size() == 2;
        CHECK(choice != (screen.State(2) == CPFS_DISPLAY_IN_SELECTED_TILE));
    }
}
