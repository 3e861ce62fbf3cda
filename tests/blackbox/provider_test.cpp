#include "support/readable_failures.h"

#include <algorithm>

#include "support/stage.h"

using kelvor::ComRef;
using kelvor::test::FakeUserArray;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::User;

namespace {

User Named(const wchar_t* name)
{
    User user;
    user.qualifiedName = name;
    return user;
}

StageOptions With(std::vector<User> users)
{
    StageOptions options;
    options.users = std::move(users);
    return options;
}

StageOptions At(CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario)
{
    StageOptions options;
    options.scenario = scenario;
    return options;
}

constexpr const char* kAlice =
    "_EnumerateCredentials: user[0] 'CORP\\alice' provider={60B78E88-EAD8-445C-...} localProvider=0";

}  // namespace

TEST_CASE("The logon screen is served and noted")
{
    Stage stage;
    stage.Open();
    CHECK(stage.log.Has("INFO", "SetUsageScenario: cpus=1"));
}

TEST_CASE("The unlock screen is served and noted")
{
    Stage stage(At(CPUS_UNLOCK_WORKSTATION));
    stage.Open();
    CHECK(stage.log.Has("INFO", "SetUsageScenario: cpus=2"));
}

TEST_CASE("Usage scenarios that are not served are refused by their kind")
{
    Stage stage;
    ICredentialProvider* provider = stage.Provider();
    stage.log.Forget();
    CHECK(provider->SetUsageScenario(CPUS_CHANGE_PASSWORD, 0) == E_NOTIMPL);
    CHECK(provider->SetUsageScenario(CPUS_CREDUI, 0) == E_NOTIMPL);
    CHECK(provider->SetUsageScenario(CPUS_INVALID, 0) == E_INVALIDARG);
    CHECK(provider->SetUsageScenario(CPUS_PLAP, 0) == E_INVALIDARG);
    CHECK(provider->SetUsageScenario(static_cast<CREDENTIAL_PROVIDER_USAGE_SCENARIO>(6), 0) ==
          E_INVALIDARG);
    CHECK(stage.log.Lines().empty());
}

TEST_CASE("The flags of a usage scenario do not matter")
{
    Stage stage;
    CHECK(stage.Provider()->SetUsageScenario(CPUS_LOGON, 0xFFFFFFFF) == S_OK);
}

TEST_CASE("A serialization from elsewhere is not taken")
{
    Stage stage;
    const CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization = {};
    CHECK(stage.Provider()->SetSerialization(&serialization) == E_NOTIMPL);
}

TEST_CASE("The logon screen shows the domain users in their order and the Other user tile last")
{
    Stage stage(With({Named(L"CORP\\alice"), Named(L"WS01\\admin"), Named(L"CORP\\bob")}));
    CHECK(stage.TileTotal() == 3);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=2 skippedNonAd=1 totalTiles=3 "
                        "hr=0x00000000"));
    CHECK(stage.log.Find("INFO", "Initialize: AD tile user='CORP\\alice' hr=0x00000000") <
          stage.log.Find("INFO", "Initialize: AD tile user='CORP\\bob' hr=0x00000000"));
    CHECK(stage.TileAt(0).Text(1) == L"Sign in with security key");
    CHECK(stage.TileAt(2).Text(1) == L"Other user — sign in with security key");
    CHECK(stage.log.Has("INFO", "_EnumerateCredentials: added Other-user tile"));
}

TEST_CASE("The tiles keep the order of the user array")
{
    Stage stage(With({Named(L"CORP\\bob"), Named(L"CORP\\alice")}));
    stage.TileAt(1).Select();
    CHECK(stage.log.Has("INFO", "SetSelected: tile user='CORP\\alice' otherUser=0 autoLogon=0"));
    stage.TileAt(1).Deselect();
}

TEST_CASE("The unlock screen has no Other user tile")
{
    Stage stage(At(CPUS_UNLOCK_WORKSTATION));
    CHECK(stage.TileTotal() == 1);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=2 adTiles=1 skippedNonAd=0 totalTiles=1 "
                        "hr=0x00000000"));
}

TEST_CASE("The unlock screen without a user array has no tiles")
{
    StageOptions options = At(CPUS_UNLOCK_WORKSTATION);
    options.givesUsers = false;
    Stage stage(options);
    CHECK(stage.TileTotal() == 0);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=2 adTiles=0 skippedNonAd=0 totalTiles=0 "
                        "hr=0x8000FFFF"));
}

TEST_CASE("The logon screen without a user array has the Other user tile alone")
{
    StageOptions options;
    options.givesUsers = false;
    Stage stage(options);
    CHECK(stage.TileTotal() == 1);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=0 skippedNonAd=0 totalTiles=1 "
                        "hr=0x00000000"));
}

TEST_CASE("Without a usage scenario there are no tiles and no summary")
{
    Stage stage;
    ComRef<IClassFactory> factory;
    const CLSID providerClass = {
        0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};
    REQUIRE(stage.Module().GetClassObject(providerClass, IID_IClassFactory,
                                          reinterpret_cast<void**>(factory.Receive())) == S_OK);
    ComRef<ICredentialProvider> provider;
    REQUIRE(factory->CreateInstance(nullptr, IID_ICredentialProvider,
                                    reinterpret_cast<void**>(provider.Receive())) == S_OK);
    DWORD count = 9;
    DWORD defaultTile = 9;
    BOOL autoLogon = TRUE;
    CHECK(provider->GetCredentialCount(&count, &defaultTile, &autoLogon) == S_OK);
    CHECK(count == 0);
    CHECK(stage.log.Messages() ==
          std::vector<std::string>{"GetCredentialCount: count=0 default=-1 autoLogon=0"});
}

TEST_CASE("An idle tile list has no default and no auto-logon")
{
    Stage stage;
    const Stage::TileCount tiles = stage.AskTileCount();
    CHECK(tiles.count == 2);
    CHECK(tiles.defaultTile == CREDENTIAL_PROVIDER_NO_DEFAULT);
    CHECK_FALSE(tiles.autoLogon);
    CHECK(stage.log.Has("INFO", "GetCredentialCount: count=2 default=-1 autoLogon=0"));
}

TEST_CASE("A tile that finished its sign-in is the default and logs on by itself")
{
    Stage stage(With({Named(L"CORP\\bob"), Named(L"CORP\\alice")}));
    kelvor::test::Tile& alice = stage.TileAt(1);
    alice.Select();
    alice.Type(Stage::kWidePin);
    alice.Click();
    REQUIRE(stage.Sink()->WaitForChange());
    const Stage::TileCount tiles = stage.AskTileCount();
    CHECK(tiles.defaultTile == 1);
    CHECK(tiles.autoLogon);
    CHECK(stage.log.Has("INFO",
                        "GetCredentialCount: tile 1 finished its sign-in -- asking LogonUI to "
                        "collect the credential (default=1 autoLogon=1)."));
    CHECK(stage.log.Has("INFO", "GetCredentialCount: count=3 default=1 autoLogon=1"));
}

TEST_CASE("Of two tiles that finished their sign-in the first in order is the default")
{
    Stage stage(With({Named(L"CORP\\alice"), Named(L"EAST\\alice")}));
    for (std::size_t index : {1U, 0U}) {
        const std::size_t before = stage.threads.Started();
        stage.TileAt(index).Type(Stage::kWidePin);
        stage.TileAt(index).Click();
        REQUIRE(stage.threads.JoinFrom(before));
    }
    CHECK(stage.AskTileCount().defaultTile == 0);
}

TEST_CASE("A tile index at the count has no tile")
{
    Stage stage;
    stage.Open();
    auto* credential = reinterpret_cast<ICredentialProviderCredential*>(&stage);
    CHECK(stage.Provider()->GetCredentialAt(2, &credential) == E_INVALIDARG);
    CHECK(credential == nullptr);
    CHECK(stage.log.Has("INFO", "GetCredentialAt: index=2 of 2 hr=0x80070057"));
}

TEST_CASE("Handing out a tile is noted")
{
    Stage stage;
    stage.Open();
    CHECK(stage.log.Has("INFO", "GetCredentialAt: index=0 of 2 hr=0x00000000"));
}

TEST_CASE("Each user of the array is noted with its name and provider")
{
    User local = Named(L"WS01\\admin");
    local.provider = {0xA198529B, 0x730F, 0x4089, {0xB6, 0x46, 0xA1, 0x25, 0x57, 0xF5, 0x66, 0x5E}};
    Stage stage(With({User{}, local}));
    stage.Open();
    CHECK(stage.log.Has("INFO", "SetUserArray: 2 user(s) supplied -- re-enumerating tiles."));
    CHECK(stage.log.Has(
        "INFO", "_EnumerateCredentials: user array has 2 entr(ies) (GetCount hr=0x00000000)"));
    CHECK(stage.log.Has("INFO", kAlice));
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: user[1] 'WS01\\admin' "
                        "provider={A198529B-730F-4089-...} localProvider=1"));
}

TEST_CASE("A user of the local provider with a domain name still gets a tile")
{
    User user;
    user.provider = {0xA198529B, 0x730F, 0x4089, {0xB6, 0x46, 0xA1, 0x25, 0x57, 0xF5, 0x66, 0x5E}};
    Stage stage(With({user}));
    CHECK(stage.TileTotal() == 2);
}

TEST_CASE("A null user array counts no users")
{
    Stage stage;
    stage.GiveUsers(nullptr);
    CHECK(stage.log.Has("INFO", "SetUserArray: 0 user(s) supplied -- re-enumerating tiles."));
    CHECK(stage.AskTileCount().count == 1);
}

TEST_CASE("A user array that cannot count its users gives no account tiles")
{
    Stage stage;
    const ComRef<FakeUserArray> users = FakeUserArray::Make({User{}});
    users->FailGetCount(E_ACCESSDENIED);
    stage.GiveUsers(users.Get());
    CHECK(stage.AskTileCount().count == 1);
    CHECK(stage.log.Has(
        "INFO", "_EnumerateCredentials: user array has 0 entr(ies) (GetCount hr=0x80070005)"));
}

TEST_CASE("A user that cannot be had ends the walk but not the Other user tile")
{
    User broken;
    broken.getAt = E_ACCESSDENIED;
    Stage stage(With({User{}, broken, Named(L"CORP\\bob")}));
    CHECK(stage.TileTotal() == 2);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=1 skippedNonAd=0 totalTiles=2 "
                        "hr=0x00000000"));
}

TEST_CASE("At the unlock screen a user that cannot be had stands in the summary")
{
    User broken;
    broken.getAt = E_ACCESSDENIED;
    StageOptions options = With({broken, User{}});
    options.scenario = CPUS_UNLOCK_WORKSTATION;
    Stage stage(options);
    CHECK(stage.TileTotal() == 0);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=2 adTiles=0 skippedNonAd=0 totalTiles=0 "
                        "hr=0x80070005"));
}

TEST_CASE("A user whose name cannot be read is skipped without a reason line")
{
    User nameless;
    nameless.getStringValue = E_FAIL;
    Stage stage(With({nameless, Named(L"CORP\\bob")}));
    CHECK(stage.TileTotal() == 2);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: user[0] '(no name)' "
                        "provider={60B78E88-EAD8-445C-...} localProvider=0"));
    CHECK_FALSE(stage.log.HasBeginning("INFO", "IsAdDomainUser:"));
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=1 adTiles=1 skippedNonAd=1 totalTiles=2 "
                        "hr=0x00000000"));
}

TEST_CASE("A user whose SID cannot be read gets no tile and ends the walk")
{
    User sidless;
    sidless.getSid = E_ACCESSDENIED;
    Stage stage(With({sidless, Named(L"CORP\\bob")}));
    CHECK(stage.TileTotal() == 1);
    CHECK(stage.log.Has("INFO", "Initialize: AD tile user='CORP\\alice' hr=0x80070005"));
}

TEST_CASE("A user without a SID gets a tile that belongs to no known user")
{
    User sidless;
    sidless.getSid = S_FALSE;
    Stage stage(With({sidless}));
    CHECK(stage.TileTotal() == 2);
    CHECK(stage.log.Has("INFO", "Initialize: AD tile user='CORP\\alice' hr=0x00000001"));
    ComRef<ICredentialProviderCredential2> tile;
    REQUIRE(stage.TheTile()->QueryInterface(IID_ICredentialProviderCredential2,
                                            reinterpret_cast<void**>(tile.Receive())) == S_OK);
    LPWSTR sid = nullptr;
    CHECK(tile->GetUserSid(&sid) == S_FALSE);
    CHECK(stage.log.Has("INFO", "GetUserSid: no SID (otherUser=0) -> S_FALSE"));
}

TEST_CASE("A user list that hands out nothing and calls it success ends the walk")
{
    User nobody;
    nobody.getAt = S_FALSE;
    StageOptions options = With({nobody});
    options.scenario = CPUS_UNLOCK_WORKSTATION;
    Stage stage(options);
    CHECK(stage.TileTotal() == 0);
    CHECK(stage.log.Has("INFO",
                        "_EnumerateCredentials: cpus=2 adTiles=0 skippedNonAd=0 totalTiles=0 "
                        "hr=0x8000FFFF"));
}

TEST_CASE("Several accounts of one domain that is not served are noted once")
{
    Stage stage(With({Named(L"WS01\\admin"), Named(L"ws01\\guest"), Named(L"AzureAD\\eve"),
                      Named(L"WS01\\other")}));
    stage.Open();
    const std::string beginning = "IsAdDomainUser: skipping unsupported account (domain '";
    CHECK(stage.log.Count("INFO", beginning + "WS01'; this PC is 'WS01')") == 2);
    CHECK(stage.log.Count("INFO", beginning + "ws01'; this PC is 'WS01')") == 0);
    CHECK(stage.log.Count("INFO", beginning + "AzureAD'; this PC is 'WS01')") == 1);
}

TEST_CASE("An account without a domain is noted as having none")
{
    Stage stage(With({Named(L"alice")}));
    stage.Open();
    CHECK(stage.log.Has("INFO",
                        "IsAdDomainUser: skipping unsupported account (domain '(none)'; this PC is "
                        "'WS01')"));
}

TEST_CASE("The tiles are built once, and anew after a new user array")
{
    Stage stage;
    stage.Open();
    stage.AskTileCount();
    CHECK(stage.log.Count("INFO", kAlice) == 1);
    stage.GiveUsers(stage.Users());
    stage.AskTileCount();
    stage.AskTileCount();
    CHECK(stage.log.Count("INFO", kAlice) == 2);
}

TEST_CASE("The tiles are built anew after a new usage scenario")
{
    Stage stage;
    stage.Open();
    CHECK(stage.Provider()->SetUsageScenario(CPUS_UNLOCK_WORKSTATION, 0) == S_OK);
    CHECK(stage.AskTileCount().count == 1);
}

TEST_CASE("A tile that LogonUI still holds outlives the list it was in")
{
    Stage stage;
    stage.Open();
    stage.GiveUsers(nullptr);
    stage.AskTileCount();
    CHECK(stage.TileAt(0).Text(1) == L"Sign in with security key");
}
