#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lock.h"
#include "logonui/attached_surroundings.h"
#include "logonui/exchange_watch.h"
#include "logonui/key_hands.h"
#include "logonui/key_looks.h"
#include "logonui/lsa/logon_authority.h"
#include "logonui/message_loop.h"
#include "logonui/module_log.h"
#include "logonui/module_threads.h"
#include "logonui/pipe_wait.h"
#include "logonui/provider_host.h"
#include "logonui/screen_view.h"
#include "logonui/service_control.h"
#include "logonui/transcript.h"
#include "surroundings/clock.h"
#include "world/world.h"

namespace kelvor::simulator {

struct SessionOptions {
    std::wstring stateFolder;
    bool withService = false;     // enrols, starts and stops the card service
    bool enrolled = false;        // somebody has enrolled the world into the state folder before
    unsigned short deskPort = 0;  // of a Kerberos domain's ticket desk; 0: a domain of our own
    DWORD patienceMs = 0;         // how long to wait for what ought to come; 0: not at all
    // The module's time stands still but for Pass, so that each run goes the same way; else it is
    // the real one.
    bool timeStandsStill = false;
    // A tile looks different, or the list of tiles; on the thread that changed it.
    std::function<void()> changed = [] {};
};

// One run of the sign-in screen: the provider, the world around it and LSA behind it. Everything
// that a user can do is here, and everything that can be waited for. Loop's thread only, which is
// the thread that made it, in a single-threaded apartment. Failures are std::runtime_error.
//
// A session is not destroyed: a thread of the module may still be inside a stand-in that takes its
// time (a directory that never answers). It ends with its process, after End.
class Session {
 public:
    Session(World world, SessionOptions options, Transcript& transcript);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Up to the list of tiles.
    void Begin();
    // Leaves the screen and shows one of another kind, with a new provider.
    void ShowScreen(Screen screen);
    // Leaves the screen, releases the provider, stops the service. Does nothing a second time.
    void End();

    void ShowTiles();
    void ShowCalls();
    void ShowLog();

    // What the user does; each waits until the screen allows it and answers what is wrong if it
    // does not, else nothing.
    using Trouble = std::optional<std::string>;
    Trouble Select(unsigned tile);  // 1 for the first
    Trouble Deselect();
    Trouble InsertKey(bool nfc);
    Trouble RemoveKey();
    Trouble TypePin(const Secret<wchar_t>& pin);
    Trouble ChooseRow(unsigned row);  // 1 for the first
    Trouble Click();
    Trouble Touch();

    // Lets time pass, where it stands still.
    Trouble Pass(DWORD ms);
    // The screen collects a finished credential that it did not collect at once.
    Trouble Collect();
    // What LSA says of the next credential, in place of what is true of it.
    Trouble AnswerNextLogon(std::optional<NTSTATUS> status);
    // What the key answers to the next tap; 0: what is true.
    Trouble AnswerNextTap(int code);

    Trouble StartService();
    Trouble KillService();
    // Kills the service when the `ordinal`-th exchange from now gets to `stage`.
    Trouble KillServiceAt(unsigned ordinal, ExchangeStage stage);
    // Kills it when the next credential is about to go to LSA.
    Trouble KillServiceAtLogon();

    // What is to come; each waits a generous time for it.
    Trouble ExpectTiles(unsigned count);
    Trouble ExpectStatus(const std::wstring& text);
    Trouble ExpectLogon(NTSTATUS status);
    Trouble ExpectLog(const std::string& text, bool present);
    Trouble ExpectGate(bool open);
    Trouble ExpectButton(bool shown);
    Trouble ExpectBlinking();
    // Until the card service has been asked for `command`.
    Trouble ExpectExchange(const std::string& command);
    // Until the module's threads have come to rest, and draws the tile as it is then.
    Trouble Rest();

    // What there is to see, for a screen that shows it by itself.
    const ProviderHost& Host() const noexcept { return host_; }
    Screen ShownScreen() const noexcept { return shownScreen_; }
    // DOMAIN\user whom a tile belongs to; empty for a tile of nobody.
    std::wstring OwnerOf(std::size_t tile) const;
    bool KeyBlinks() const { return key_ && key_->WaitsForTouch(); }
    bool ServiceRuns() const { return service_.Running(); }
    // LSA has accepted a credential: the screen is about to give way to the desktop.
    bool SignedIn() const noexcept;
    MessageLoop& Loop() noexcept { return loop_; }
    ScreenView& View() noexcept { return view_; }

 private:
    struct Trap {
        unsigned ordinal = 0;
        ExchangeStage stage = ExchangeStage::kConnecting;
    };

    HostObserver MakeObserver();
    HostManners MakeManners();
    std::unique_ptr<Domain> MakeDomain();
    void Attach(HMODULE module);
    void StartScreen(Screen screen);
    ScreenUsers UsersOfScreen() const;
    void Sleep(DWORD ms);
    bool HasComeToRest() const;
    LogonResult LogOn(const Serialization& serialization);
    void OnReported(const LogonResult& result);
    void OnExchange(const ExchangePoint& point);
    void DrawSelected();
    // Waits until the selected tile has looked for the key.
    void LetTileLook();
    bool WaitFor(const std::function<bool()>& done);
    Trouble BeginAct();
    Trouble LetTileNotice();
    Trouble NotSelected() const;

    const World world_;
    const SessionOptions options_;
    Transcript& transcript_;
    MessageLoop loop_;
    ScreenView view_;
    ModuleLog log_;
    LogonAuthority authority_;
    ServiceControl service_;
    ProviderHost host_;
    std::optional<Clock> clock_;
    std::optional<PipeWait> pipeWait_;
    std::optional<ModuleThreads> threads_;
    std::optional<AttachedSurroundings> surroundings_;
    std::optional<ExchangeWatch> exchanges_;
    std::optional<KeyHands> key_;
    std::optional<KeyLooks> looks_;
    Screen shownScreen_ = world_.pc.screen;

    std::vector<NTSTATUS> results_;  // of every logon so far
    std::size_t expectedResults_ = 0;
    std::size_t statusesSeen_ = 0;
    bool killAtLogon_ = false;
    std::optional<NTSTATUS> nextVerdict_;
    DWORD idleMs_ = 0;  // since the user did something, by the clock

    Lock lock_;
    std::vector<StatusChange> statuses_;  // under lock_: of every tile, in order
    std::vector<Trap> traps_;             // under lock_
    std::vector<std::string> asked_;      // under lock_: commands nobody has expected yet
    unsigned exchangesOver_ = 0;          // under lock_
};

// Ends the session on every way out, before its state folder goes.
class SessionEnd {
 public:
    explicit SessionEnd(Session& session) : session_(session) {}
    ~SessionEnd() { session_.End(); }
    SessionEnd(const SessionEnd&) = delete;
    SessionEnd& operator=(const SessionEnd&) = delete;

 private:
    Session& session_;
};

}  // namespace kelvor::simulator
