// What LogonUI does with the factory and the provider.
#include <objbase.h>

#include <array>

#include "support/method_times.h"
#include "world.h"

namespace kelvor::trust {

using test::FakeUserArray;
using test::Timed;
using test::User;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};
constexpr DWORD kFieldCount = 7;
constexpr std::size_t kMostTiles = 8;

// Never a pointer that a module could have handed out.
template <class T>
T* Rubbish() noexcept
{
    return reinterpret_cast<T*>(static_cast<UINT_PTR>(0xDEAD));
}

bool IsOdd(unsigned number)
{
    return number % 8 == 0;
}

void GetFactory(World& world)
{
    if (!world.factory) {
        world.Expect(world.stage.Module().GetClassObject(
                         kProviderClass, IID_IClassFactory,
                         reinterpret_cast<void**>(world.factory.Receive())) == S_OK,
                     "the factory is to be had");
    }
}

void AskForWrongClass(World& world, unsigned, unsigned second)
{
    void* object = Rubbish<void>();
    const bool wrongClass = second % 2 == 0;
    const HRESULT hr = world.stage.Module().GetClassObject(
        wrongClass ? IID_IUnknown : kProviderClass, IID_ICredentialProvider, &object);
    world.Expect(
        hr == (wrongClass ? CLASS_E_CLASSNOTAVAILABLE : E_NOINTERFACE) && object == nullptr,
        "there is no other class and no other interface");
    world.Expect(world.stage.Module().GetClassObject(kProviderClass, IID_IClassFactory, nullptr) ==
                     E_POINTER,
                 "DllGetClassObject needs somewhere to put it");
}

void CreateProvider(World& world, unsigned first, unsigned second)
{
    GetFactory(world);
    if (IsOdd(first)) {
        void* object = Rubbish<void>();
        const HRESULT outer =
            world.factory->CreateInstance(world.factory.Get(), IID_ICredentialProvider, &object);
        world.Expect(outer == CLASS_E_NOAGGREGATION && object == nullptr,
                     "a provider is not aggregated");
        object = Rubbish<void>();
        const HRESULT hr = world.factory->CreateInstance(nullptr, IID_IClassFactory, &object);
        world.Expect(hr == E_NOINTERFACE && object == nullptr, "a provider is no factory");
        world.Expect(world.factory->CreateInstance(nullptr, IID_IUnknown, nullptr) == E_POINTER,
                     "CreateInstance needs somewhere to put it");
        return;
    }
    ComRef<ICredentialProvider> provider;
    const HRESULT hr = Timed("Factory::CreateInstance", [&] {
        return world.factory->CreateInstance(
            nullptr, second % 2 == 0 ? IID_IUnknown : IID_ICredentialProvider,
            reinterpret_cast<void**>(provider.Receive()));
    });
    world.Expect(hr == S_OK, "a provider is to be had");
    Timed("Provider::Release", [&] {
        world.provider = std::move(provider);
        return S_OK;
    });
    world.mustEnumerate = true;
    world.fresh.clear();
    ++world.generation;
}

void ReleaseProvider(World& world, unsigned, unsigned)
{
    Timed("Provider::Release", [&] {
        world.provider = {};
        return S_OK;
    });
}

void LockServer(World& world, unsigned first, unsigned)
{
    GetFactory(world);
    const bool lock = world.serverLocks == 0 || first % 2 == 0;
    world.Expect(world.factory->LockServer(lock) == S_OK, "LockServer always succeeds");
    world.serverLocks += lock ? 1U : 0U;
    world.serverLocks -= lock ? 0U : 1U;
    if (world.serverLocks > 0) {
        world.Expect(world.stage.Module().CanUnloadNow() == S_FALSE, "a locked module stays");
    }
}

void SetUsageScenario(World& world, unsigned first, unsigned)
{
    if (!world.provider) {
        return;
    }
    constexpr std::array<int, 12> kScenarios = {1, 1, 1, 1, 1, 2, 2, 3, 4, 0, 5, -1};
    const int scenario = kScenarios[first % kScenarios.size()];
    const HRESULT hr = Timed("Provider::SetUsageScenario", [&] {
        return world.provider->SetUsageScenario(
            static_cast<CREDENTIAL_PROVIDER_USAGE_SCENARIO>(scenario), first);
    });
    const bool served = scenario == 1 || scenario == 2;
    world.mustEnumerate = world.mustEnumerate || served;
    world.Expect(hr == (served                           ? S_OK
                        : scenario == 3 || scenario == 4 ? E_NOTIMPL
                                                         : E_INVALIDARG),
                 "SetUsageScenario serves logon and unlock");
}

std::vector<User> UserList(unsigned number)
{
    const User alice;
    User bob;
    bob.qualifiedName = L"CORP\\bob";
    bob.sid = L"S-1-5-21-1-2-3-1002";
    User local;
    local.qualifiedName = L"WS01\\carol";
    User nameless;
    nameless.getStringValue = E_FAIL;
    User sidless;
    sidless.getSid = S_FALSE;
    User broken;
    broken.getAt = E_FAIL;
    switch (number % 8) {
        case 0:
            return {};
        case 1:
        case 2:
            return {alice};
        case 3:
        case 4:
            return {alice, bob};
        case 5:
            return {local, nameless, alice};
        case 6:
            return {sidless, alice, broken, bob};
        default:
            return std::vector<User>(20, alice);
    }
}

void SetUserArray(World& world, unsigned first, unsigned second)
{
    if (!world.provider) {
        return;
    }
    ComRef<ICredentialProviderSetUserArray> setUsers;
    world.Expect(
        world.provider->QueryInterface(IID_ICredentialProviderSetUserArray,
                                       reinterpret_cast<void**>(setUsers.Receive())) == S_OK,
        "a provider takes users");
    FakeUserArray* users = nullptr;
    if (!IsOdd(second)) {
        world.users.push_back(FakeUserArray::Make(UserList(first)));
        users = world.users.back().Get();
        users->FailGetCount(second % 8 == 7 ? E_FAIL : S_OK);
    }
    const HRESULT hr =
        Timed("Provider::SetUserArray", [&] { return setUsers->SetUserArray(users); });
    world.Expect(hr == S_OK, "SetUserArray always succeeds");
    world.mustEnumerate = true;
}

void AdviseProvider(World& world, unsigned first, unsigned second)
{
    if (world.provider) {
        const HRESULT hr = Timed("Provider::Advise", [&] {
            return world.provider->Advise(IsOdd(first) ? nullptr : world.sink.Get(), second);
        });
        world.Expect(hr == S_OK, "the provider's Advise always succeeds");
    }
}

void UnAdviseProvider(World& world, unsigned, unsigned)
{
    if (world.provider) {
        world.Expect(
            Timed("Provider::UnAdvise", [&] { return world.provider->UnAdvise(); }) == S_OK,
            "the provider's UnAdvise always succeeds");
    }
}

void GetFieldDescriptor(World& world, unsigned first, unsigned second)
{
    if (!world.provider) {
        return;
    }
    DWORD count = 0xDEAD;
    HRESULT hr = Timed("Provider::GetFieldDescriptorCount",
                       [&] { return world.provider->GetFieldDescriptorCount(&count); });
    world.Expect(hr == S_OK && count == kFieldCount, "there are seven fields");
    world.Expect(world.provider->GetFieldDescriptorCount(nullptr) == E_POINTER &&
                     world.provider->GetFieldDescriptorAt(0, nullptr) == E_POINTER,
                 "the descriptors need somewhere to be put");
    const DWORD index = second % 8 == 7 ? 0xFFFFFFFF : first % 10;
    auto* descriptor = Rubbish<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR>();
    hr = Timed("Provider::GetFieldDescriptorAt",
               [&] { return world.provider->GetFieldDescriptorAt(index, &descriptor); });
    world.Expect(hr == (index < kFieldCount ? S_OK : E_INVALIDARG) &&
                     (descriptor != nullptr) == (index < kFieldCount),
                 "a field has a descriptor, and nothing else has");
    if (SUCCEEDED(hr)) {
        world.Expect(descriptor->dwFieldID == index && descriptor->pszLabel != nullptr,
                     "a descriptor names its field");
        CoTaskMemFree(descriptor->pszLabel);
        CoTaskMemFree(descriptor);
    }
}

void LookAtDefault(World& world, DWORD defaultTile, bool autoLogon)
{
    for (const auto& held : world.tiles) {
        if (held->generation != world.generation) {
            continue;
        }
        if (autoLogon && held->index == defaultTile) {
            held->phase.Saw(kCompleted, "GetCredentialCount names it");
        } else if ((!autoLogon || held->index < defaultTile) && held->workers.empty()) {
            held->phase.Saw(kIdle, "GetCredentialCount does not name it");
        }
    }
}

void GetCredentialCount(World& world, unsigned, unsigned second)
{
    if (!world.provider) {
        return;
    }
    DWORD count = 0xDEAD;
    DWORD defaultTile = 0xDEAD;
    BOOL autoLogon = TRUE;
    if (IsOdd(second)) {
        world.Expect(
            world.provider->GetCredentialCount(nullptr, &defaultTile, &autoLogon) == E_POINTER &&
                world.provider->GetCredentialCount(&count, nullptr, &autoLogon) == E_POINTER &&
                world.provider->GetCredentialCount(&count, &defaultTile, nullptr) == E_POINTER,
            "the count needs somewhere to be put");
        return;
    }
    const HRESULT hr = Timed("Provider::GetCredentialCount", [&] {
        return world.provider->GetCredentialCount(&count, &defaultTile, &autoLogon);
    });
    world.Expect(hr == S_OK && (autoLogon ? defaultTile < count
                                          : defaultTile == CREDENTIAL_PROVIDER_NO_DEFAULT),
                 "the default is a tile that is to be collected, or none");
    if (std::exchange(world.mustEnumerate, false)) {
        ++world.generation;
        world.fresh.assign(count, true);
        world.Expect(!autoLogon, "new tiles have nothing to collect");
    }
    world.Expect(count == world.fresh.size(), "the count changes with the users alone");
    LookAtDefault(world, defaultTile, autoLogon != FALSE);
}

void GetCredentialAt(World& world, unsigned first, unsigned second)
{
    if (!world.provider || world.tiles.size() >= kMostTiles) {
        return;
    }
    if (IsOdd(second)) {
        world.Expect(world.provider->GetCredentialAt(0, nullptr) == E_POINTER,
                     "a tile needs somewhere to be put");
        return;
    }
    const DWORD index = second % 8 == 7 ? 0xFFFFFFFF : first % 4;
    auto* credential = Rubbish<ICredentialProviderCredential>();
    const HRESULT hr = Timed("Provider::GetCredentialAt",
                             [&] { return world.provider->GetCredentialAt(index, &credential); });
    const bool there = index < world.fresh.size();
    world.Expect(hr == (there ? S_OK : E_INVALIDARG) && (credential != nullptr) == there,
                 "a tile is to be had by its index, and nothing else is");
    if (SUCCEEDED(hr)) {
        world.Hold(ComRef<ICredentialProviderCredential>::Adopt(credential), index);
    }
}

void AskProviderForMore(World& world, unsigned, unsigned)
{
    if (!world.provider) {
        return;
    }
    void* object = Rubbish<void>();
    world.Expect(world.provider->QueryInterface(IID_IClassFactory, &object) == E_NOINTERFACE &&
                     object == nullptr,
                 "a provider has no other interface");
    world.Expect(world.provider->SetSerialization(nullptr) == E_NOTIMPL,
                 "SetSerialization is not served");
}

constexpr Act kActs[] = {
    {"AskForWrongClass", 1, &AskForWrongClass},     {"CreateProvider", 3, &CreateProvider},
    {"ReleaseProvider", 2, &ReleaseProvider},       {"LockServer", 1, &LockServer},
    {"SetUsageScenario", 4, &SetUsageScenario},     {"SetUserArray", 5, &SetUserArray},
    {"AdviseProvider", 5, &AdviseProvider},         {"UnAdviseProvider", 3, &UnAdviseProvider},
    {"GetFieldDescriptor", 2, &GetFieldDescriptor}, {"GetCredentialCount", 12, &GetCredentialCount},
    {"GetCredentialAt", 10, &GetCredentialAt},      {"AskProviderForMore", 1, &AskProviderForMore},
};

}  // namespace

std::span<const Act> ProviderActs()
{
    return kActs;
}

}  // namespace kelvor::trust
