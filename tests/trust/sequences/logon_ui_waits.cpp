#include "logon_ui_waits.h"

#include <algorithm>
#include <string_view>

#include "support/method_times.h"

namespace kelvor::trust {

using test::MethodTimer;
using test::NowUs;

namespace {

LogonUiWaits* active = nullptr;

constexpr DWORD kLogTurnMs = 2000;  // the only wait of this length is the one for the log's mutex
constexpr DWORD kTurnMs = 20;
constexpr DWORD kMomentMs = 1;
constexpr DWORD kPatienceMs = 3000;

LogonUiWaits::Book& Mine()
{
    static LogonUiWaits::Book book;
    return book;
}

constexpr const char* kThreadEnd = "the end of a thread";
constexpr const char* kAnswer = "the card service's answer";
constexpr const char* kPumping = "the sign-in, pumping";
constexpr const char* kPause = "a pause";
constexpr const char* kFreePipe = "a free instance of the pipe";
constexpr const char* kLogTurn = "the log's turn";

// What LogonUI's thread may wait for in which method, and for how long.
struct Prescribed {
    const char* what;
    const char* bound;
    std::vector<std::string_view> methods;  // none: all of them
};

const std::vector<Prescribed>& AllPrescribed()
{
    static const std::vector<Prescribed> prescribed = {
        {kThreadEnd,
         "the poll that the key watch is in, with its calls of the key's library",
         {"SetDeselected", "UnAdvise", "GetSerialization", "Release", "Provider::Release",
          "Provider::GetCredentialCount"}},
        {kAnswer,
         "3 s of silence after the disarming; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {kPause,
         "10 s of the disarming's connection, in steps; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {kFreePipe,
         "10 s of the disarming's connection, in steps; a sign-in where no thread can start",
         {"ReportResult", "GetSerialization"}},
        {kPumping, "the sign-in, where nobody could be told to collect it", {"GetSerialization"}},
        {kLogTurn, "2 s a line, while another program keeps the log's mutex", {}},
    };
    return prescribed;
}

template <class Function>
Function* Original(const simulator::ImportPatch& patch)
{
    return reinterpret_cast<Function*>(patch.Original());
}

}  // namespace

// Notes one wait, and that its time is not the method's own.
class NotedWait {
 public:
    NotedWait(LogonUiWaits& waits, const char* what) : beginUs_(NowUs())
    {
        const char* const method = MethodTimer::Current();
        const std::pair<std::string, std::string> wait = {
            method != nullptr ? method : "outside the methods", what};
        ++waits.noted_[wait];
        ++Mine()[wait];
    }
    ~NotedWait() { MethodTimer::Waited(NowUs() - beginUs_); }
    NotedWait(const NotedWait&) = delete;
    NotedWait& operator=(const NotedWait&) = delete;

 private:
    std::uint64_t beginUs_;
};

struct LogonUiWaitsEntry {
    static DWORD WINAPI ForOne(HANDLE handle, DWORD limitMs)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine() || limitMs == 0) {
            return Original<decltype(WaitForSingleObject)>(self.patches_[0])(handle, limitMs);
        }
        if (limitMs == INFINITE) {
            const NotedWait wait(self, kThreadEnd);
            return self.WaitForEnd(handle);
        }
        if (limitMs == kLogTurnMs) {
            const NotedWait wait(self, kLogTurn);
            return Original<decltype(WaitForSingleObject)>(self.patches_[0])(handle, limitMs);
        }
        const NotedWait wait(self, kAnswer);
        return self.WaitForAnswer(handle, limitMs);
    }

    static DWORD WINAPI ForMessages(DWORD count, const HANDLE* handles, DWORD limitMs, DWORD mask,
                                    DWORD flags)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine() || limitMs != INFINITE) {
            return MsgWaitForMultipleObjectsEx(count, handles, limitMs, mask, flags);
        }
        const NotedWait wait(self, kPumping);
        return self.Pump(count, handles, mask, flags);
    }

    static void WINAPI SleepFor(DWORD ms)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine()) {
            Original<decltype(Sleep)>(self.patches_[2])(ms);
            return;
        }
        const NotedWait wait(self, kPause);
        Original<decltype(Sleep)>(self.patches_[2])(ms);
    }

    static BOOL WINAPI ForPipe(LPCWSTR name, DWORD limitMs)
    {
        LogonUiWaits& self = *active;
        const auto original = Original<decltype(WaitNamedPipeW)>(self.patches_[3]);
        if (!self.Mine()) {
            return original(name, limitMs);
        }
        const NotedWait wait(self, kFreePipe);
        return original(name, kMomentMs);
    }
};

LogonUiWaits::LogonUiWaits(HMODULE module, Callbacks callbacks)
    : threadId_(GetCurrentThreadId()), callbacks_(std::move(callbacks))
{
    active = this;
    patches_.reserve(4);
    patches_.emplace_back(module, "WaitForSingleObject", &LogonUiWaitsEntry::ForOne);
    patches_.emplace_back(module, "MsgWaitForMultipleObjectsEx", &LogonUiWaitsEntry::ForMessages);
    patches_.emplace_back(module, "Sleep", &LogonUiWaitsEntry::SleepFor);
    patches_.emplace_back(module, "WaitNamedPipeW", &LogonUiWaitsEntry::ForPipe);
}

LogonUiWaits::~LogonUiWaits()
{
    patches_.clear();
    active = nullptr;
}

const LogonUiWaits::Book& LogonUiWaits::All()
{
    return trust::Mine();
}

std::vector<std::string> LogonUiWaits::Unprescribed()
{
    std::vector<std::string> lines;
    for (const auto& [wait, times] : All()) {
        if (Bound(wait.first, wait.second) == nullptr) {
            lines.push_back(wait.first + " waits for " + wait.second);
        }
    }
    return lines;
}

const char* LogonUiWaits::Bound(const std::string& method, const std::string& what)
{
    for (const Prescribed& row : AllPrescribed()) {
        if (what == row.what &&
            (row.methods.empty() || std::ranges::count(row.methods, method) != 0)) {
            return row.bound;
        }
    }
    return nullptr;
}

DWORD LogonUiWaits::Pump(DWORD count, const HANDLE* handles, DWORD mask, DWORD flags)
{
    gaveUpPumping_ = false;
    callbacks_.onPump();
    DWORD woken = WAIT_TIMEOUT;
    while ((woken = MsgWaitForMultipleObjectsEx(count, handles, kTurnMs, mask, flags)) ==
           WAIT_TIMEOUT) {
        GoOnIfStuck();
    }
    gaveUpPumping_ = woken != WAIT_OBJECT_0;
    if (!gaveUpPumping_) {
        callbacks_.onPumpEnded();
    }
    return woken;
}

DWORD LogonUiWaits::WaitForEnd(HANDLE handle)
{
    // A blocking sign-in that has stopped pumping waits for its thread here, too.
    DWORD woken = WAIT_TIMEOUT;
    while ((woken = WaitForSingleObject(handle, kTurnMs)) == WAIT_TIMEOUT) {
        if (gaveUpPumping_) {
            GoOnIfStuck();
        }
    }
    if (std::exchange(gaveUpPumping_, false)) {
        callbacks_.onPumpEnded();
    }
    return woken;
}

void LogonUiWaits::GoOnIfStuck()
{
    if (callbacks_.isStuck()) {
        callbacks_.goOn();
    }
}

DWORD LogonUiWaits::WaitForAnswer(HANDLE handle, DWORD limitMs)
{
    for (DWORD waitedMs = 0; waitedMs < kPatienceMs; waitedMs += kTurnMs) {
        if (const DWORD woken = WaitForSingleObject(handle, kTurnMs); woken != WAIT_TIMEOUT) {
            return woken;
        }
        if (callbacks_.isHeld()) {
            break;
        }
    }
    callbacks_.passTime(limitMs);
    return WAIT_TIMEOUT;
}

}  // namespace kelvor::trust
