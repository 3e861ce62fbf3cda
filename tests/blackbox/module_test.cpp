#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::ComRef;
using kelvor::test::CountResources;
using kelvor::test::Growth;
using kelvor::test::ModuleUnderTest;
using kelvor::test::ResourceCounts;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::User;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

ComRef<IClassFactory> Factory(const ModuleUnderTest& module)
{
    ComRef<IClassFactory> factory;
    REQUIRE(module.GetClassObject(kProviderClass, IID_IClassFactory,
                                  reinterpret_cast<void**>(factory.Receive())) == S_OK);
    return factory;
}

ComRef<ICredentialProvider> Provider(const ModuleUnderTest& module)
{
    ComRef<ICredentialProvider> provider;
    REQUIRE(Factory(module)->CreateInstance(nullptr, IID_ICredentialProvider,
                                            reinterpret_cast<void**>(provider.Receive())) == S_OK);
    return provider;
}

template <class Wanted, class From>
ComRef<Wanted> Query(From* object, REFIID riid)
{
    ComRef<Wanted> wanted;
    static_cast<void>(object->QueryInterface(riid, reinterpret_cast<void**>(wanted.Receive())));
    return wanted;
}

// Of all heaps of this process.
std::size_t BusyBytes()
{
    HANDLE heaps[64] = {};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(std::size(heaps)), heaps);
    std::size_t busy = 0;
    for (DWORD i = 0; i < count && i < std::size(heaps); ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry)) {
            busy += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
    }
    return busy;
}

// An outer object for aggregation; nobody may keep it.
struct Outer : IUnknown {
    virtual ~Outer() = default;
    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    ULONG references = 1;
};

}  // namespace

TEST_CASE("A class other than the provider's is not available")
{
    const ModuleUnderTest module;
    void* object = &object;
    CHECK(module.GetClassObject(IID_IUnknown, IID_IClassFactory, &object) ==
          CLASS_E_CLASSNOTAVAILABLE);
    CHECK(object == nullptr);
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A class identifier that differs in its last byte alone is not available")
{
    const ModuleUnderTest module;
    CLSID almost = kProviderClass;
    almost.Data4[7] ^= 1;
    void* object = nullptr;
    CHECK(module.GetClassObject(almost, IID_IClassFactory, &object) == CLASS_E_CLASSNOTAVAILABLE);
}

TEST_CASE("The class factory comes with one reference")
{
    const ModuleUnderTest module;
    IClassFactory* factory = nullptr;
    REQUIRE(module.GetClassObject(kProviderClass, IID_IClassFactory,
                                  reinterpret_cast<void**>(&factory)) == S_OK);
    CHECK(factory->AddRef() == 2);
    CHECK(factory->Release() == 1);
    CHECK(factory->Release() == 0);
}

TEST_CASE("The class factory refuses an interface it lacks")
{
    const ModuleUnderTest module;
    void* object = &object;
    CHECK(module.GetClassObject(kProviderClass, IID_ICredentialProvider, &object) == E_NOINTERFACE);
    CHECK(object == nullptr);
}

TEST_CASE("The class factory does not keep the module loaded")
{
    const ModuleUnderTest module;
    const ComRef<IClassFactory> factory = Factory(module);
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A null output pointer is refused before anything else")
{
    const ModuleUnderTest module;
    CHECK(module.GetClassObject(kProviderClass, IID_IClassFactory, nullptr) == E_POINTER);
}

TEST_CASE("A server lock keeps the module loaded until it is given back")
{
    const ModuleUnderTest module;
    const ComRef<IClassFactory> factory = Factory(module);
    CHECK(factory->LockServer(TRUE) == S_OK);
    CHECK(module.CanUnloadNow() == S_FALSE);
    CHECK(factory->LockServer(FALSE) == S_OK);
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A provider keeps the module loaded as long as it lives")
{
    const ModuleUnderTest module;
    ComRef<ICredentialProvider> provider = Provider(module);
    CHECK(module.CanUnloadNow() == S_FALSE);
    provider = {};
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A provider cannot be aggregated")
{
    const ModuleUnderTest module;
    Outer outer;
    void* object = &object;
    CHECK(Factory(module)->CreateInstance(&outer, IID_IUnknown, &object) == CLASS_E_NOAGGREGATION);
    CHECK(object == nullptr);
    CHECK(outer.references == 1);
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A provider asked for an unknown interface is destroyed again")
{
    const ModuleUnderTest module;
    void* object = &object;
    CHECK(Factory(module)->CreateInstance(nullptr, IID_IClassFactory, &object) == E_NOINTERFACE);
    CHECK(object == nullptr);
    CHECK(module.CanUnloadNow() == S_OK);
}

TEST_CASE("A provider answers for the user array on a second interface and one count")
{
    const ModuleUnderTest module;
    const ComRef<ICredentialProvider> provider = Provider(module);
    const auto users =
        Query<ICredentialProviderSetUserArray>(provider.Get(), IID_ICredentialProviderSetUserArray);
    REQUIRE(users);
    CHECK(static_cast<void*>(users.Get()) != static_cast<void*>(provider.Get()));
    CHECK(users->AddRef() == 3);
    CHECK(provider->Release() == 2);
}

TEST_CASE("A provider is the same unknown object through both interfaces")
{
    const ModuleUnderTest module;
    const ComRef<ICredentialProvider> provider = Provider(module);
    const auto users =
        Query<ICredentialProviderSetUserArray>(provider.Get(), IID_ICredentialProviderSetUserArray);
    CHECK(Query<IUnknown>(users.Get(), IID_IUnknown).Get() ==
          Query<IUnknown>(provider.Get(), IID_IUnknown).Get());
    CHECK(static_cast<void*>(Query<IUnknown>(users.Get(), IID_IUnknown).Get()) ==
          static_cast<void*>(provider.Get()));
}

TEST_CASE("A tile answers for both credential interfaces on its first")
{
    Stage stage;
    const auto second = Query<ICredentialProviderCredential2>(stage.TheTile().Get(),
                                                              IID_ICredentialProviderCredential2);
    CHECK(static_cast<void*>(second.Get()) == static_cast<void*>(stage.TheTile().Get()));
}

TEST_CASE("A tile answers for field options on a second interface and one count")
{
    Stage stage;
    const auto options = Query<ICredentialProviderCredentialWithFieldOptions>(
        stage.TheTile().Get(), IID_ICredentialProviderCredentialWithFieldOptions);
    REQUIRE(options);
    CHECK(static_cast<void*>(options.Get()) != static_cast<void*>(stage.TheTile().Get()));
    const ULONG count = options->AddRef();
    CHECK(stage.TheTile()->Release() == count - 1);
}

TEST_CASE("A tile refuses an interface it lacks")
{
    Stage stage;
    CHECK_FALSE(Query<IUnknown>(stage.TheTile().Get(), IID_ICredentialProvider));
}

TEST_CASE("A tile that outlives its provider keeps the module loaded")
{
    Stage stage;
    ComRef<ICredentialProvider> provider = Provider(stage.Module());
    REQUIRE(provider->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
    DWORD count = 0;
    DWORD defaultTile = 0;
    BOOL autoLogon = FALSE;
    REQUIRE(provider->GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
    ComRef<ICredentialProviderCredential> tile;
    REQUIRE(provider->GetCredentialAt(0, tile.Receive()) == S_OK);
    provider = {};
    CHECK(stage.Module().CanUnloadNow() == S_FALSE);
    tile = {};
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("Only the tile image asks for a field option, the touch keyboard")
{
    Stage stage;
    const auto options = Query<ICredentialProviderCredentialWithFieldOptions>(
        stage.TheTile().Get(), IID_ICredentialProviderCredentialWithFieldOptions);
    for (DWORD field = 0; field < 9; ++field) {
        CAPTURE(field);
        auto option = CPCFO_ENABLE_PASSWORD_REVEAL;
        CHECK(options->GetFieldOptions(field, &option) == S_OK);
        CHECK(option == (field == 0 ? CPCFO_ENABLE_TOUCH_KEYBOARD_AUTO_INVOKE : CPCFO_NONE));
    }
}

TEST_CASE("A probe inside a slow directory call keeps the module loaded by itself")
{
    auto module = std::make_unique<ModuleUnderTest>();
    // Left alive on purpose: their patches must not be undone in a module that has gone.
    auto* directory = new kelvor::simulator::Directory(module->Handle());
    auto* threads = new kelvor::simulator::ThreadWatch(module->Handle());
    directory->Hold();
    {
        const ComRef<ICredentialProvider> provider = Provider(*module);
        REQUIRE(provider->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
        DWORD count = 0;
        DWORD defaultTile = 0;
        BOOL autoLogon = FALSE;
        REQUIRE(provider->GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
        ComRef<ICredentialProviderCredential> tile;
        REQUIRE(provider->GetCredentialAt(0, tile.Receive()) == S_OK);
        CHECK(tile->SetSelected(&autoLogon) == S_OK);
        REQUIRE(directory->WaitUntilHeld(10'000));
        CHECK(tile->SetDeselected() == S_OK);
    }
    CHECK(module->CanUnloadNow() == S_OK);
    module.reset();
    constexpr const wchar_t* kFile = L"KelvorFidoAdLogonCredentialProvider.dll";
    CHECK(GetModuleHandleW(kFile) != nullptr);
    directory->Release();
    CHECK(threads->JoinFrom(0));
    CHECK(GetModuleHandleW(kFile) == nullptr);
}

TEST_CASE("A module that comes and goes leaves neither memory nor handles behind")
{
    const auto comeAndGo = [] {
        Stage stage(StageOptions{.users = {User{.qualifiedName = L"WS01\\bob"}, User{}}});
        stage.SignInWhole();
    };
    comeAndGo();  // what the system keeps from the first time on
    const ResourceCounts before = CountResources();
    // A block as large as any that the runtime keeps for itself would show, each time: a heap takes
    // such a block for its own housekeeping now and then, but not each time.
    constexpr std::size_t kBlockBytes = 16'384;
    bool everyTime = true;
    for (int time = 0; time < 4 && everyTime; ++time) {
        const std::size_t busyBefore = BusyBytes();
        comeAndGo();
        everyTime = BusyBytes() >= busyBefore + kBlockBytes;
    }
    CHECK_FALSE(everyTime);
    CHECK(Growth(before, CountResources()) == std::vector<std::string>{});
}
