#include "logonui/session.h"

#include <algorithm>
#include <utility>

#include "logonui/console_text.h"
#include "logonui/lsa/kerberos_domain.h"
#include "logonui/lsa/world_domain.h"
#include "logonui/settings_writer.h"
#include "logonui/tile_view.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// A freshly selected tile has its first look at once.
constexpr DWORD kLookMs = 1'000;

struct ScreenRow {
    Screen screen;
    CREDENTIAL_PROVIDER_USAGE_SCENARIO scenario;
    const char* text;
};
constexpr ScreenRow kScreens[] = {
    {Screen::kLogon, CPUS_LOGON, "asks who signs in"},
    {Screen::kUnlock, CPUS_UNLOCK_WORKSTATION, "asks for the user who locked the PC"},
    {Screen::kChangePassword, CPUS_CHANGE_PASSWORD, "asks for a new password"},
    {Screen::kCredentialPrompt, CPUS_CREDUI, "asks for credentials for a program"},
    {Screen::kPreLogonAccess, CPUS_PLAP, "asks for a network before the sign-in"},
};

const ScreenRow& RowOf(Screen screen)
{
    return *std::ranges::find(kScreens, screen, &ScreenRow::screen);
}

std::vector<ScreenUser> UsersOf(const World& world)
{
    std::vector<ScreenUser> users;
    for (const UserWorld& user : world.users) {
        const bool local = user.provider == UserProvider::kLocal;
        users.push_back(
            {user.qualifiedName, user.sid, local ? Identity_LocalUserProvider : GUID_NULL});
    }
    return users;
}

std::vector<ScreenUser> MakeUpUsers(unsigned count)
{
    std::vector<ScreenUser> users;
    for (unsigned number = 1; number <= count; ++number) {
        const std::wstring digits = std::to_wstring(number);
        users.push_back({L"CORP\\user" + digits, L"S-1-5-21-1-2-3-" + digits, GUID_NULL});
    }
    return users;
}

}  // namespace

Session::Session(World world, SessionOptions options, Transcript& transcript)
    : world_(std::move(world)),
      options_(std::move(options)),
      transcript_(transcript),
      view_(transcript),
      authority_(
          world_, MakeDomain(),
          [this](const std::string& finding) { view_.Mention("LSA", finding); },
          [this](DWORD ms) { Sleep(ms); }),
      service_(options_.stateFolder),
      host_(loop_, MakeObserver(), MakeManners())
{
    loop_.SetIdle([this] {
        if (host_.HasSelection()) {
            view_.DrawAtRest(host_.Model(host_.Selected()).Snapshot());
        }
    });
}

std::unique_ptr<Domain> Session::MakeDomain()
{
    if (options_.deskPort != 0) {
        return std::make_unique<KerberosDomain>(
            options_.deskPort, [this](const std::string& answer) { view_.Say("KDC", answer); });
    }
    return std::make_unique<WorldDomain>(
        world_, options_.stateFolder,
        [this](const std::string& finding) { view_.Mention("LSA", finding); });
}

void Session::Begin()
{
    if (options_.withService) {
        if (!options_.enrolled) {
            service_.Enrol();
        }
        if (world_.service.running) {
            service_.Start();
            view_.Say("service", "the card service runs");
        }
    }
    WriteSettings(world_.settings);
    key_.emplace();
    Attach(host_.Activate());
    StartScreen(world_.pc.screen);
}

void Session::Attach(HMODULE module)
{
    if (options_.timeStandsStill) {
        clock_.emplace(module);
        pipeWait_.emplace(module, *clock_);
    }
    threads_.emplace(module, world_.screen.failingThreads);
    surroundings_.emplace(module, world_, clock_ ? &*clock_ : nullptr);
    exchanges_.emplace(module, [this](const ExchangePoint& point) { OnExchange(point); });
    looks_.emplace(module);
}

void Session::StartScreen(Screen screen)
{
    shownScreen_ = screen;
    const ScreenRow& row = RowOf(screen);
    view_.Say("screen", row.text);
    const HRESULT hr = host_.Start(row.scenario, UsersOfScreen());
    if (FAILED(hr)) {
        view_.Say("screen", "is told that the provider does not serve this: " +
                                Hex32(static_cast<unsigned long>(hr)));
        return;
    }
    ShowTiles();
}

void Session::ShowScreen(Screen screen)
{
    host_.Stop();
    host_.Activate();
    StartScreen(screen);
}

ScreenUsers Session::UsersOfScreen() const
{
    switch (world_.pc.userList) {
        case UserList::kListed:
            return {UserList::kListed, UsersOf(world_)};
        case UserList::kMany:
            return {UserList::kMany, MakeUpUsers(world_.pc.userCount)};
        default:
            return {world_.pc.userList, {}};
    }
}

void Session::End()
{
    host_.Stop();
    service_.Kill();
}

void Session::ShowTiles()
{
    constexpr std::size_t kMostLines = 8;
    const std::size_t count = host_.TileCount();
    for (std::size_t index = 0; index < count; ++index) {
        if (count > kMostLines && index == kMostLines / 2) {
            view_.Say("tile", "…");
            index = count - kMostLines / 2;
        }
        const std::wstring owner = OwnerOf(index);
        view_.Say("tile ", std::to_string(index + 1) + "  " +
                               DrawTileSummary(host_.Model(index).Snapshot()) +
                               (owner.empty() ? "" : "  (" + ToUtf8(owner) + ")"));
    }
}

void Session::ShowCalls()
{
    for (const SinkCall& call : host_.Calls().Calls()) {
        transcript_.Line("  thread " + std::to_string(call.threadId) + "  " +
                         std::to_string(call.elapsedMs) + " ms  " + call.text);
    }
}

void Session::ShowLog()
{
    transcript_.Heading("the module's log, " + ToUtf8(log_.Path()));
    for (const std::string& line : log_.Lines()) {
        transcript_.Line(line);
    }
}

bool Session::SignedIn() const noexcept
{
    return !results_.empty() && results_.back() == 0;
}

HostObserver Session::MakeObserver()
{
    HostObserver observer;
    observer.tile.changed = [this] {
        view_.TileChanged();
        loop_.Wake();
        options_.changed();
    };
    observer.tile.statusShown = [this](const StatusChange& change) {
        view_.StatusShown(change);
        lock_.With([&] { statuses_.push_back(change); });
    };
    observer.credentialsChanged = [this] {
        view_.Say("screen", world_.screen.collectsAtOnce
                                ? "collects what the provider has finished"
                                : "hears that the provider has finished, and leaves it there");
    };
    observer.logon = [this](const Serialization& serialization) { return LogOn(serialization); };
    observer.reported = [this](const LogonResult& result) { OnReported(result); };
    return observer;
}

HostManners Session::MakeManners()
{
    HostManners manners;
    manners.providerSink = world_.screen.providerSink;
    manners.tileSink = world_.screen.tileSink != TileSink::kMissing;
    manners.collectsAtOnce = world_.screen.collectsAtOnce;
    manners.releases = world_.screen.releases;
    manners.remote = world_.screen.remote;
    if (world_.screen.tileSink == TileSink::kFails) {
        manners.tileSinkMood = [] { return E_FAIL; };
    } else if (world_.screen.tileSink == TileSink::kSlow) {
        manners.tileSinkMood = [this] {
            Sleep(world_.screen.tileSinkMs);
            return S_OK;
        };
    }
    return manners;
}

LogonResult Session::LogOn(const Serialization& serialization)
{
    DrawSelected();
    if (std::exchange(killAtLogon_, false)) {
        KillService();
    }
    LogonResult result;
    result.status = authority_.LogOn(serialization.Bytes(), serialization.Package());
    result.substatus = world_.lsa.subStatus ? static_cast<NTSTATUS>(*world_.lsa.subStatus) : 0;
    if (const auto verdict = std::exchange(nextVerdict_, std::nullopt)) {
        result = {*verdict, 0};
    }
    view_.Say("LSA", std::string(result.status == 0 ? "LOGON ACCEPTED" : "LOGON REFUSED") + ": " +
                         StatusName(result.status) + " " +
                         Hex32(static_cast<unsigned long>(result.status)));
    return result;
}

void Session::OnReported(const LogonResult& result)
{
    std::string reason;
    view_.Say("card", LogonAuthority::CardSigns(reason) ? "still signs: its sign gate is open"
                                                        : "signs nothing more: " + reason);
    if (result.status == 0) {
        view_.Say("screen", "gives way to the user's desktop");
    }
    results_.push_back(result.status);
}

void Session::OnExchange(const ExchangePoint& point)
{
    if (point.stage == ExchangeStage::kAsked) {
        view_.Say("service", "is asked: " + point.command);
    }
    const bool sprung = lock_.With([&] {
        if (point.stage == ExchangeStage::kAsked) {
            asked_.push_back(point.command);
        }
        if (point.stage == ExchangeStage::kOver) {
            exchangesOver_ = point.ordinal;
        }
        return std::erase_if(traps_, [&](const Trap& trap) {
                   return trap.ordinal == point.ordinal && trap.stage == point.stage;
               }) != 0;
    });
    if (sprung) {
        KillService();
    }
    loop_.Wake();
}

void Session::DrawSelected()
{
    if (host_.HasSelection()) {
        view_.Draw(host_.Model(host_.Selected()).Snapshot());
    }
}

void Session::Sleep(DWORD ms)
{
    if (clock_) {
        clock_->Advance(ms);
    } else {
        ::Sleep(ms);
    }
}

bool Session::HasComeToRest() const
{
    if (!clock_) {
        return true;
    }
    // A thread that has ended may have left a task behind.
    return (threads_->AtRest(*clock_) || key_->WaitsForTouch()) && !loop_.HasTasks();
}

std::wstring Session::OwnerOf(std::size_t tile) const
{
    const std::wstring& sid = host_.UserSid(tile);
    const auto user = std::ranges::find_if(
        world_.users, [&](const UserWorld& known) { return !sid.empty() && known.sid == sid; });
    return user != world_.users.end() ? user->qualifiedName : L"";
}

void Session::LetTileLook()
{
    if (host_.HasSelection()) {
        loop_.RunUntil([this] { return looks_->Any(); }, std::max(options_.patienceMs, kLookMs));
    }
}

bool Session::WaitFor(const std::function<bool()>& done)
{
    // What is so already needs no loop, which would let other things happen in between.
    return done() || (options_.patienceMs != 0 && loop_.RunUntil(done, options_.patienceMs));
}

}  // namespace kelvor::simulator
