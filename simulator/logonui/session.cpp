#include "logonui/session.h"

#include <algorithm>
#include <utility>

#include "logonui/console_text.h"
#include "logonui/settings_writer.h"
#include "logonui/tile_view.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

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

}  // namespace

Session::Session(World world, SessionOptions options, Transcript& transcript)
    : world_(std::move(world)),
      options_(std::move(options)),
      transcript_(transcript),
      view_(transcript),
      authority_(world_, options_.stateFolder,
                 [this](const std::string& finding) { view_.Say("LSA", finding); }),
      service_(options_.stateFolder),
      host_(loop_, MakeObserver())
{
    loop_.SetIdle([this] { DrawSelected(false); });
}

void Session::Begin()
{
    if (options_.withService) {
        service_.Enrol();
        if (world_.service.running) {
            service_.Start();
            view_.Say("service", "the card service runs");
        }
    }
    WriteSettings(world_.settings);
    key_.emplace();
    const HMODULE module = host_.Activate();
    surroundings_.emplace(module, world_);
    exchanges_.emplace(module, [this](const ExchangePoint& point) { OnExchange(point); });
    looks_.emplace(module);
    const bool unlock = world_.pc.screen == Screen::kUnlock;
    view_.Say("screen", unlock ? "asks for the user who locked the PC" : "asks who signs in");
    host_.Start(unlock ? CPUS_UNLOCK_WORKSTATION : CPUS_LOGON,
                world_.pc.hasUserList ? UsersOf(world_) : std::vector<ScreenUser>());
    ShowTiles();
}

void Session::End()
{
    host_.Stop();
    service_.Kill();
}

void Session::ShowTiles()
{
    for (std::size_t index = 0; index < host_.TileCount(); ++index) {
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
        view_.Say("screen", "collects what the provider has finished");
    };
    observer.logon = [this](const Serialization& serialization) { return LogOn(serialization); };
    observer.reported = [this](const LogonResult& result) { OnReported(result); };
    return observer;
}

LogonResult Session::LogOn(const Serialization& serialization)
{
    DrawSelected(true);
    if (std::exchange(killAtLogon_, false)) {
        KillService();
    }
    LogonResult result;
    result.status = authority_.LogOn(serialization.Bytes(), serialization.Package());
    result.substatus = world_.lsa.subStatus ? static_cast<NTSTATUS>(*world_.lsa.subStatus) : 0;
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

void Session::DrawSelected(bool now)
{
    if (host_.HasSelection()) {
        view_.Draw(host_.Model(host_.Selected()).Snapshot(), now);
    }
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
        WaitFor([this] { return looks_->Any(); });
    }
}

bool Session::WaitFor(const std::function<bool()>& done)
{
    // What is so already needs no loop, which would let other things happen in between.
    return done() || loop_.RunUntil(done, options_.patienceMs);
}

}  // namespace kelvor::simulator
