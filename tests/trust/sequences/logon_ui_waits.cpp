#include "logon_ui_waits.h"

#include <utility>

namespace kelvor::trust {
namespace {

LogonUiWaits* active = nullptr;

constexpr DWORD kTurnMs = 20;
constexpr DWORD kMomentMs = 1;
constexpr DWORD kPatienceMs = 3000;

template <class Function>
Function* Original(const simulator::ImportPatch& patch)
{
    return reinterpret_cast<Function*>(patch.Original());
}

}  // namespace

struct LogonUiWaitsEntry {
    static DWORD WINAPI ForOne(HANDLE handle, DWORD limitMs)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine() || limitMs == 0) {
            return Original<decltype(WaitForSingleObject)>(self.patches_[0])(handle, limitMs);
        }
        const char* const what = WaitedFor(limitMs);
        const NotedWait wait(what, &self.noted_);
        if (what == waits::kThreadEnd) {
            return self.WaitForEnd(handle);
        }
        if (what == waits::kLogTurn) {
            return Original<decltype(WaitForSingleObject)>(self.patches_[0])(handle, limitMs);
        }
        return self.WaitForAnswer(handle, limitMs);
    }

    static DWORD WINAPI ForMessages(DWORD count, const HANDLE* handles, DWORD limitMs, DWORD mask,
                                    DWORD flags)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine() || limitMs != INFINITE) {
            return MsgWaitForMultipleObjectsEx(count, handles, limitMs, mask, flags);
        }
        const NotedWait wait(waits::kPumping, &self.noted_);
        return self.Pump(count, handles, mask, flags);
    }

    static void WINAPI SleepFor(DWORD ms)
    {
        LogonUiWaits& self = *active;
        if (!self.Mine()) {
            Original<decltype(Sleep)>(self.patches_[2])(ms);
            return;
        }
        const NotedWait wait(waits::kPause, &self.noted_);
        Original<decltype(Sleep)>(self.patches_[2])(ms);
    }

    static BOOL WINAPI ForPipe(LPCWSTR name, DWORD limitMs)
    {
        LogonUiWaits& self = *active;
        const auto original = Original<decltype(WaitNamedPipeW)>(self.patches_[3]);
        if (!self.Mine()) {
            return original(name, limitMs);
        }
        const NotedWait wait(waits::kFreePipe, &self.noted_);
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
