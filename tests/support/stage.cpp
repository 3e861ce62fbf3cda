#include "support/stage.h"

#include <objbase.h>

#include <utility>

#include <doctest.h>

#include "support/method_times.h"
#include "support/readable_failures.h"

namespace kelvor::test {
namespace {

// {C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}
constexpr CLSID kProviderClass = {
    0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}};

constexpr DWORD kKeyWatchMs = 500;
constexpr DWORD kStatusField = 5;

}  // namespace

Stage::Stage(StageOptions options)
    : module_(std::make_unique<ModuleUnderTest>()),
      settings(module_->Handle()),
      pipe(module_->Handle()),
      threads(module_->Handle()),
      clock(module_->Handle()),
      reader(module_->Handle()),
      csp(module_->Handle()),
      directory(module_->Handle()),
      lsa(module_->Handle()),
      key(module_->Handle()),
      service(pipe.Name()),
      log(programData.LogFile()),
      options_(std::move(options))
{
    // A service that dies with its answer is gone before the module asks for it again.
    pipe.SetOnClosed([this] { service.WaitUntilDead(); });
    SetUpDefaults();
}

Stage::~Stage()
{
    Close();
}

void Stage::SetUpDefaults()
{
    settings.SetDword(L"Enabled", 1);
    settings.SetDword(L"FidoGate", 1);
    settings.SetString(L"FidoServerUrl", L"https://signin.corp.example");
    settings.SetString(L"FidoRpId", L"corp.example");
    reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0",
                        simulator::ReaderCard{.registeredNames = {L"Kelvor Card"}}}});
    PutCardOf("alice@corp.example");
    directory.SetUpn(L"alice@corp.example");
    key.SetPin(kPin);
}

void Stage::PutCardOf(const std::string& upn)
{
    service.Answers("armorprovision", R"({"ok":true,"upn":")" + upn + "\"}");
    simulator::CardCertificate certificate;
    certificate.der = MakeCertificate({.commonName = upn, .upn = upn});
    const std::string user = upn.substr(0, upn.find('@'));
    certificate.container = std::wstring(user.begin(), user.end()) + L"-container";
    csp.SetCertificates({std::move(certificate)});
}

void Stage::Open()
{
    if (closed_ || std::exchange(opened_, true)) {
        return;
    }
    CreateProvider();
    CHECK(Timed("Provider::SetUsageScenario",
                [&] { return provider_->SetUsageScenario(options_.scenario, 0); }) == S_OK);
    if (options_.givesUsers) {
        users_ = FakeUserArray::Make(options_.users);
        GiveUsers(users_.Get());
    }
    if (options_.advisesProvider) {
        sink_ = ProviderEvents::Make();
        CHECK(Timed("Provider::Advise",
                    [&] { return provider_->Advise(sink_.Get(), kAdviseContext); }) == S_OK);
    }
    ReadDescriptors();
    TakeTiles();
}

void Stage::CreateProvider()
{
    ComRef<IClassFactory> factory;
    REQUIRE(module_->GetClassObject(kProviderClass, IID_IClassFactory,
                                    reinterpret_cast<void**>(factory.Receive())) == S_OK);
    REQUIRE(factory->CreateInstance(nullptr, IID_ICredentialProvider,
                                    reinterpret_cast<void**>(provider_.Receive())) == S_OK);
}

void Stage::ReadDescriptors()
{
    DWORD count = 0;
    CHECK(Timed("Provider::GetFieldDescriptorCount",
                [&] { return provider_->GetFieldDescriptorCount(&count); }) == S_OK);
    for (DWORD index = 0; index < count; ++index) {
        CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR* descriptor = nullptr;
        CHECK(Timed("Provider::GetFieldDescriptorAt",
                    [&] { return provider_->GetFieldDescriptorAt(index, &descriptor); }) == S_OK);
        const TaskMemory<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR> own(descriptor);
        if (own) {
            CoTaskMemFree(own.Get()->pszLabel);
        }
    }
}

void Stage::TakeTiles()
{
    const DWORD count = AskTileCount().count;
    for (DWORD index = 0; index < count; ++index) {
        ComRef<ICredentialProviderCredential> credential;
        REQUIRE(Timed("Provider::GetCredentialAt", [&] {
                    return provider_->GetCredentialAt(index, credential.Receive());
                }) == S_OK);
        tiles_.emplace_back(std::move(credential));
    }
    for (Tile& tile : tiles_) {
        if (options_.advisesTiles) {
            CHECK(tile.Advise() == S_OK);
        }
        tile.ReadFields();
    }
}

ICredentialProvider* Stage::Provider()
{
    Open();
    return provider_.Get();
}

Stage::TileCount Stage::AskTileCount()
{
    Open();
    TileCount answer = {0xDEAD, 0xDEAD, true};
    BOOL autoLogon = TRUE;
    CHECK(Timed("Provider::GetCredentialCount", [&] {
              return provider_->GetCredentialCount(&answer.count, &answer.defaultTile, &autoLogon);
          }) == S_OK);
    answer.autoLogon = autoLogon != FALSE;
    return answer;
}

void Stage::GiveUsers(ICredentialProviderUserArray* users)
{
    Open();
    ComRef<ICredentialProviderSetUserArray> setUsers;
    REQUIRE(provider_->QueryInterface(IID_ICredentialProviderSetUserArray,
                                      reinterpret_cast<void**>(setUsers.Receive())) == S_OK);
    CHECK(Timed("Provider::SetUserArray", [&] { return setUsers->SetUserArray(users); }) == S_OK);
}

Stage::TileCount Stage::EnumerateAnew()
{
    GiveUsers(users_.Get());
    return AskTileCount();
}

std::size_t Stage::TileTotal()
{
    Open();
    return tiles_.size();
}

Tile& Stage::TileAt(std::size_t index)
{
    Open();
    REQUIRE(index < tiles_.size());
    return tiles_[index];
}

Tile& Stage::TheTile()
{
    Open();
    return TileAt(options_.otherUser ? tiles_.size() - 1 : 0);
}

void Stage::Select()
{
    Tile& tile = TheTile();
    selectionThreads_ = threads.Started();
    tile.Select();
    selected_ = true;
}

void Stage::Deselect()
{
    TheTile().Deselect();
    selected_ = false;
    pinTyped_ = false;
}

void Stage::TypePin(const wchar_t* pin)
{
    if (!selected_) {
        Select();
    }
    CHECK(TheTile().Type(pin) == S_OK);
    pinTyped_ = true;
}

Answer Stage::Click()
{
    if (!selected_) {
        Select();
    }
    clickThreads_ = threads.Started();
    return TheTile().Click();
}

void Stage::WaitForWorker()
{
    REQUIRE(threads.JoinFrom(clickThreads_));
    pinTyped_ = false;
}

void Stage::SignIn()
{
    if (!pinTyped_) {
        TypePin();
    }
    Click();
    WaitForWorker();
}

Answer Stage::Collect()
{
    const TileCount tiles = AskTileCount();
    return tiles.autoLogon ? TileAt(tiles.defaultTile).Click() : TheTile().Click();
}

void Stage::Report(LONG status, LONG substatus)
{
    CHECK(TheTile().Report(status, substatus) == S_OK);
}

void Stage::SignInWhole()
{
    SignIn();
    Collect();
    Report(0);
}

void Stage::Poll(std::size_t times)
{
    for (std::size_t turn = 0; turn < times; ++turn) {
        REQUIRE(clock.EndWait(kKeyWatchMs));
        REQUIRE(clock.WaitForWaiter(kKeyWatchMs));
    }
}

void Stage::WaitForProbe()
{
    // The probe is the first thread of a selection; the key watch comes after it.
    REQUIRE(threads.Started() > selectionThreads_);
    REQUIRE(threads.Join(selectionThreads_));
}

std::wstring Stage::Status()
{
    return options_.advisesTiles ? TheTile().Events().Text(kStatusField)
                                 : TheTile().Text(kStatusField).value_or(L"");
}

void Stage::LetTilesGo(Farewell farewell)
{
    for (Tile& tile : tiles_) {
        if (farewell == Farewell::kUnadvised) {
            tile.UnAdvise();
            unadvisedSinks_.emplace_back(&tile.Events());
        }
    }
    tiles_.clear();
    selected_ = false;
}

void Stage::LetProviderGo(Farewell farewell)
{
    if (provider_ && farewell == Farewell::kUnadvised) {
        Timed("Provider::UnAdvise", [&] { return provider_->UnAdvise(); });
    }
    provider_ = {};
}

void Stage::Close()
{
    if (std::exchange(closed_, true)) {
        return;
    }
    directory.Release();
    key.Touch();
    service.Proceed();
    if (selected_) {
        TheTile().Deselect();
    }
    LetTilesGo();
    LetProviderGo();
    CHECK(threads.JoinFrom(0));
    CheckBooks();
}

void Stage::CheckBooks()
{
    CHECK(module_->CanUnloadNow() == S_OK);
    if (users_) {
        CHECK(users_->References() == 1);
    }
    CHECK(FakeUserArray::LivingUsers() == 0);
    if (sink_) {
        CHECK(sink_->References() == 1);
    }
    for (const auto& sink : unadvisedSinks_) {
        CHECK(sink->References() == 1);
    }
    CHECK(taskMemory_.Left() == std::vector<std::string>{});
    CHECK(taskMemory_.StrayFrees() == 0);
    CHECK(settings.Outstanding() == 0);
    CHECK(pipe.Outstanding() == 0);
    CHECK(reader.Outstanding() == 0);
    CHECK(reader.StrayCalls() == 0);
    CHECK(csp.Outstanding() == 0);
    CHECK(directory.Outstanding() == 0);
    CHECK(lsa.Outstanding() == 0);
    CHECK(key.Outstanding() == 0);
    CHECK(key.StrayFrees() == 0);
}

}  // namespace kelvor::test
