// User lists and scenarios as hosts have been seen to give them.
#include <optional>
#include <string>
#include <vector>

#include "call_order.h"
#include "support/readable_failures.h"

using namespace kelvor::test;
using kelvor::ComRef;

namespace {

constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

StageOptions With(std::vector<User> users)
{
    StageOptions options;
    options.users = std::move(users);
    return options;
}

StageOptions AtUnlock(std::vector<User> users)
{
    StageOptions options = With(std::move(users));
    options.scenario = CPUS_UNLOCK_WORKSTATION;
    return options;
}

// A list that says it is longer or shorter than it is.
class LyingUserArray : public ICredentialProviderUserArray {
 public:
    DWORD count = 0;
    std::vector<User> users;
    std::vector<DWORD> asked;
    ULONG references = 1;

    LyingUserArray() = default;
    LyingUserArray(const LyingUserArray&) = delete;
    LyingUserArray& operator=(const LyingUserArray&) = delete;
    virtual ~LyingUserArray() = default;

    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP SetProviderFilter(REFGUID) override { return S_OK; }
    STDMETHODIMP GetAccountOptions(CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetCount(DWORD* told) override
    {
        *told = count;
        return S_OK;
    }
    STDMETHODIMP GetAt(DWORD index, ICredentialProviderUser** user) override
    {
        asked.push_back(index);
        *user = nullptr;
        return FakeUserArray::Make(users)->GetAt(index, user);
    }
};

// A provider as a host has it before it has said anything.
ComRef<ICredentialProvider> NewProvider(const Stage& stage)
{
    ComRef<IClassFactory> factory;
    ComRef<ICredentialProvider> provider;
    REQUIRE(stage.Module().GetClassObject(kProviderClass, IID_IClassFactory,
                                          reinterpret_cast<void**>(factory.Receive())) == S_OK);
    REQUIRE(factory->CreateInstance(nullptr, IID_ICredentialProvider,
                                    reinterpret_cast<void**>(provider.Receive())) == S_OK);
    return provider;
}

DWORD TileCountOf(ICredentialProvider& provider)
{
    DWORD count = 9;
    DWORD defaultTile = 9;
    BOOL autoLogon = TRUE;
    CHECK(provider.GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
    CHECK(defaultTile == CREDENTIAL_PROVIDER_NO_DEFAULT);
    CHECK_FALSE(autoLogon);
    return count;
}

// Everything outside the module that a provider could have touched.
std::size_t CallsOutside(Stage& stage)
{
    return stage.threads.Calls().Calls().size() + stage.pipe.Calls().Calls().size() +
           stage.key.Calls().Calls().size() + stage.settings.Calls().Calls().size() +
           stage.directory.Calls().Calls().size() + stage.reader.Calls().Calls().size() +
           stage.csp.Calls().Calls().size() + stage.lsa.Calls().Calls().size();
}

}  // namespace

TEST_CASE("A scenario that is not served answers its code and touches nothing")
{
    struct Row {
        int scenario;
        HRESULT answer;
    };
    constexpr Row kRows[] = {
        {CPUS_CHANGE_PASSWORD, E_NOTIMPL}, {CPUS_CREDUI, E_NOTIMPL}, {CPUS_INVALID, E_INVALIDARG},
        {CPUS_PLAP, E_INVALIDARG},         {6, E_INVALIDARG},        {-1, E_INVALIDARG},
        {0x7FFFFFFF, E_INVALIDARG},
    };
    for (const Row& row : kRows) {
        CAPTURE(row.scenario);
        Stage stage;
        ComRef<ICredentialProvider> provider = NewProvider(stage);
        CHECK(provider->SetUsageScenario(
                  static_cast<CREDENTIAL_PROVIDER_USAGE_SCENARIO>(row.scenario), 0) == row.answer);
        CHECK(stage.log.Lines().empty());
        CHECK(TileCountOf(*provider.Get()) == 0);
        CHECK(CallsOutside(stage) == 0);
        provider = {};
        CHECK(stage.Module().CanUnloadNow() == S_OK);
    }
}

TEST_CASE("A refused scenario leaves the one that is served, and its tiles")
{
    Stage stage;
    stage.Open();
    CHECK(stage.Provider()->SetUsageScenario(CPUS_CREDUI, 0) == E_NOTIMPL);
    CHECK(stage.AskTileCount().count == 2);
    CHECK(stage.log.Count("INFO", "_EnumerateCredentials: added Other-user tile") == 1);
}

TEST_CASE("A served scenario touches nothing before its tiles are asked for")
{
    Stage stage;
    const ComRef<ICredentialProvider> provider = NewProvider(stage);
    CHECK(provider->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
    CHECK(CallsOutside(stage) == 0);
    CHECK(stage.log.Messages() == std::vector<std::string>{"SetUsageScenario: cpus=1"});
}

TEST_CASE("A serialization from a remote session is refused at any time and changes no tile")
{
    Stage stage;
    unsigned char logon[] = {13, 0, 0, 0};
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization = {};
    serialization.cbSerialization = sizeof logon;
    serialization.rgbSerialization = logon;
    {
        const ComRef<ICredentialProvider> early = NewProvider(stage);
        CHECK(early->SetSerialization(&serialization) == E_NOTIMPL);
        CHECK(early->SetSerialization(nullptr) == E_NOTIMPL);
        CHECK(stage.log.Lines().empty());
    }
    CHECK(stage.Provider()->SetSerialization(&serialization) == E_NOTIMPL);
    CHECK(logon[0] == 13);
    const Stage::TileCount tiles = stage.AskTileCount();
    CHECK(tiles.count == 2);
    CHECK_FALSE(tiles.autoLogon);
}

TEST_CASE("The logon screen after the unlock screen gets a provider of its own")
{
    Stage unlocked(AtUnlock({User{}}));
    unlocked.SignIn();
    const ComRef<ICredentialProvider> second = NewProvider(unlocked);
    CHECK(second->SetUsageScenario(CPUS_LOGON, 0) == S_OK);
    CHECK(TileCountOf(*second.Get()) == 1);
    CHECK(unlocked.AskTileCount().autoLogon);
    CHECK(unlocked.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    unlocked.LetTilesGo();
    unlocked.LetProviderGo();
    CHECK(TileCountOf(*second.Get()) == 1);
    CHECK(unlocked.Module().CanUnloadNow() == S_FALSE);
}

TEST_CASE("An empty user array gives the Other user tile alone")
{
    Stage stage(With({}));
    CHECK(stage.TileTotal() == 1);
    CHECK(stage.log.Has("INFO", "SetUserArray: 0 user(s) supplied -- re-enumerating tiles."));
    CHECK(stage.log.Has(
        "INFO", "_EnumerateCredentials: user array has 0 entr(ies) (GetCount hr=0x00000000)"));
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=0 skippedNonAd=0 totalTiles=1 "
                        "hr=0x00000000"));
    CHECK(stage.TileAt(0).Text(1) == L"Other user — sign in with security key");
}

TEST_CASE("An empty user array at the unlock screen gives no tile and is no error")
{
    Stage stage(AtUnlock({}));
    CHECK(stage.TileTotal() == 0);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=2 adTiles=0 skippedNonAd=0 totalTiles=0 "
                        "hr=0x00000000"));
}

TEST_CASE("A thousand users get a thousand tiles, in their order, and all go again")
{
    std::vector<User> users(1000);
    for (std::size_t index = 0; index < users.size(); ++index) {
        users[index].qualifiedName = L"CORP\\user" + std::to_wstring(index);
    }
    Stage stage(With(std::move(users)));
    CHECK(stage.TileTotal() == 1001);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=1000 skippedNonAd=0 totalTiles=1001 "
                        "hr=0x00000000"));
    stage.TileAt(999).Select();
    CHECK(stage.log.Has("INFO", "SetSelected: tile user='CORP\\user999' otherUser=0 autoLogon=0"));
    stage.TileAt(999).Deselect();
    stage.Close();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("Users without a name are skipped, with a failure or without one")
{
    User failing;
    failing.getStringValue = E_ACCESSDENIED;
    User nameless;
    nameless.qualifiedName = std::nullopt;
    User empty;
    empty.qualifiedName = L"";
    Stage stage(With({failing, nameless, empty, User{}}));
    CHECK(stage.TileTotal() == 2);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=1 skippedNonAd=3 totalTiles=2 "
                        "hr=0x00000000"));
}

TEST_CASE("A list that is shorter than it says ends the walk where it ends")
{
    Stage stage(With({}));
    stage.Open();
    LyingUserArray users;
    users.count = 5;
    users.users = {User{}, User{.qualifiedName = L"CORP\\bob"}};
    stage.GiveUsers(&users);
    CHECK(stage.AskTileCount().count == 3);
    CHECK(users.asked == std::vector<DWORD>{0, 1, 2});
    CHECK(stage.log.Has(
        "INFO", "_EnumerateCredentials: user array has 5 entr(ies) (GetCount hr=0x00000000)"));
    stage.GiveUsers(nullptr);
    CHECK(users.references == 1);
}

TEST_CASE("A list that says it holds four billion users is left at its first refusal")
{
    Stage stage(With({}));
    stage.Open();
    LyingUserArray users;
    users.count = 0xFFFFFFFF;
    stage.GiveUsers(&users);
    CHECK(stage.AskTileCount().count == 1);
    CHECK(users.asked == std::vector<DWORD>{0});
    CHECK(stage.log.Has("INFO",
                        "SetUserArray: 4294967295 user(s) supplied -- re-enumerating tiles."));
    stage.GiveUsers(nullptr);
}

TEST_CASE("A list that is longer than it says is read as far as it says")
{
    Stage stage(With({}));
    stage.Open();
    LyingUserArray users;
    users.count = 1;
    users.users = {User{}, User{.qualifiedName = L"CORP\\bob"}};
    stage.GiveUsers(&users);
    CHECK(stage.AskTileCount().count == 2);
    CHECK(users.asked == std::vector<DWORD>{0});
    stage.GiveUsers(nullptr);
}
