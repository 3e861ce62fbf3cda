#include "surroundings/clock.h"

#include <winternl.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string_view>
#include <utility>

#include "handle.h"
#include "surroundings/optional_patch.h"

namespace kelvor::simulator {
namespace {

std::atomic<Clock*> active{nullptr};

constexpr DWORD kPatienceMs = 10'000;
constexpr DWORD kLookAgainMs = 1;

// A mutex is held by other processes too, whose time is the real one.
bool IsMutex(HANDLE handle)
{
    struct {
        UNICODE_STRING name;
        unsigned char rest[512];
    } type = {};
    // ObjectTypeInformation of ntifs.h; Wine and Windows both fill in the name of the type.
    constexpr auto kObjectTypeInformation = static_cast<OBJECT_INFORMATION_CLASS>(2);
    if (NtQueryObject(handle, kObjectTypeInformation, &type, sizeof type, nullptr) < 0 ||
        type.name.Buffer == nullptr) {
        return false;
    }
    return std::wstring_view(type.name.Buffer, type.name.Length / sizeof(wchar_t)) == L"Mutant";
}

// A handle of the current thread.
std::shared_ptr<UniqueKernelObject> ThisThread()
{
    return std::make_shared<UniqueKernelObject>(
        OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
}

bool HasEnded(const UniqueKernelObject& thread)
{
    return WaitForSingleObject(thread.Get(), 0) == WAIT_OBJECT_0;
}

// Looks again and again, in real time, until `condition` holds; false when it never does.
template <class Condition>
bool Await(Condition&& condition)
{
    const ULONGLONG giveUpAt = GetTickCount64() + kPatienceMs;
    while (!condition()) {
        if (GetTickCount64() >= giveUpAt) {
            return false;
        }
        Sleep(kLookAgainMs);
    }
    return true;
}

}  // namespace

struct ClockEntry {
    static DWORD WINAPI TickCount() { return static_cast<DWORD>((*active).NowMs()); }
    static ULONGLONG WINAPI TickCount64() { return (*active).NowMs(); }
    static void WINAPI SleepFor(DWORD ms) { (*active).Slept(ms); }
    static DWORD WINAPI WaitForOne(HANDLE handle, DWORD limitMs)
    {
        return (*active).Wait(1, &handle, FALSE, limitMs);
    }
    static DWORD WINAPI WaitForMany(DWORD count, const HANDLE* handles, BOOL all, DWORD limitMs)
    {
        return (*active).Wait(count, handles, all, limitMs);
    }
    static void WINAPI LocalTime(LPSYSTEMTIME time)
    {
        Clock& self = *active;
        if (const auto fixed = self.lock_.With([&] { return self.localTime_; })) {
            *time = *fixed;
        } else {
            GetLocalTime(time);
        }
    }
};

Clock::Clock(HMODULE module, std::uint64_t startMs) : nowMs_(startMs)
{
    active = this;
    PatchIfImported(patches_, module, "GetTickCount", &ClockEntry::TickCount);
    PatchIfImported(patches_, module, "GetTickCount64", &ClockEntry::TickCount64);
    PatchIfImported(patches_, module, "Sleep", &ClockEntry::SleepFor);
    PatchIfImported(patches_, module, "WaitForSingleObject", &ClockEntry::WaitForOne);
    PatchIfImported(patches_, module, "WaitForMultipleObjects", &ClockEntry::WaitForMany);
    PatchIfImported(patches_, module, "GetLocalTime", &ClockEntry::LocalTime);
}

Clock::~Clock()
{
    patches_.clear();
    active = nullptr;
}

std::uint64_t Clock::NowMs() const
{
    return lock_.With([&] { return nowMs_; });
}

void Clock::Advance(std::uint64_t ms)
{
    lock_.With([&] {
        nowMs_ += ms;
        WakeOverdue();
    });
}

bool Clock::Pass(std::uint64_t ms)
{
    const std::uint64_t untilMs = NowMs() + ms;
    while (const auto woken = EndNextWait(untilMs)) {
        const bool settled = Await([&] {
            return lock_.With([&] {
                return std::ranges::count(waiters_, woken->id, &Waiter::id) == 0;
            }) && (IsWaiting(woken->threadId) || HasEnded(*woken->thread));
        });
        if (!settled) {
            return false;
        }
    }
    lock_.With([&] { nowMs_ = std::max(nowMs_, untilMs); });
    return true;
}

void Clock::WaitFor(DWORD ms)
{
    WaitUntilWoken({}, true, ms);
}

bool Clock::IsWaiting(DWORD threadId, std::optional<DWORD> limitMs) const
{
    return lock_.With([&] {
        return std::ranges::any_of(waiters_, [&](const Waiter& waiter) {
            return waiter.threadId == threadId && waiter.deadlineMs > nowMs_ &&
                   (waiter.own || waiter.limitMs == limitMs.value_or(waiter.limitMs));
        });
    });
}

void Clock::Set(std::uint64_t nowMs)
{
    lock_.With([&] {
        for (Waiter& waiter : waiters_) {
            waiter.deadlineMs = waiter.deadlineMs - nowMs_ + nowMs;
        }
        nowMs_ = nowMs;
    });
}

void Clock::SetLocalTime(std::optional<SYSTEMTIME> time)
{
    lock_.With([&] { localTime_ = time; });
}

bool Clock::WaitForWaiter(DWORD limitMs) const
{
    return Await([&] {
        return lock_.With(
            [&] { return std::ranges::count(waiters_, limitMs, &Waiter::limitMs) != 0; });
    });
}

bool Clock::EndWait(DWORD limitMs)
{
    if (!WaitForWaiter(limitMs)) {
        return false;
    }
    const std::uint64_t id = lock_.With([&] {
        const auto waiter = std::ranges::find(waiters_, limitMs, &Waiter::limitMs);
        if (waiter == waiters_.end()) {
            return std::uint64_t{0};
        }
        nowMs_ = std::max(nowMs_, waiter->deadlineMs);
        WakeOverdue();
        return waiter->id;
    });
    return id != 0 && Await([&] {
               return lock_.With(
                   [&] { return std::ranges::count(waiters_, id, &Waiter::id) == 0; });
           });
}

std::vector<DWORD> Clock::Sleeps() const
{
    return lock_.With([&] { return sleeps_; });
}

std::vector<DWORD> Clock::Waits() const
{
    return lock_.With([&] { return waits_; });
}

DWORD Clock::Wait(DWORD count, const HANDLE* handles, BOOL all, DWORD limitMs)
{
    if (limitMs == 0 || limitMs == INFINITE || all || IsMutex(handles[0])) {
        return WaitForMultipleObjects(count, handles, all, limitMs);
    }
    lock_.With([&] { waits_.push_back(limitMs); });
    return WaitUntilWoken({handles, handles + count}, false, limitMs);
}

DWORD Clock::WaitUntilWoken(std::vector<HANDLE> handles, bool own, DWORD limitMs)
{
    const auto count = static_cast<DWORD>(handles.size());
    const UniqueKernelObject wake(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    handles.push_back(wake.Get());
    const std::uint64_t id = lock_.With([&] {
        waiters_.push_back({nextId_, GetCurrentThreadId(), ThisThread(), own, limitMs,
                            nowMs_ + limitMs, wake.Get()});
        return nextId_++;
    });
    DWORD result = WaitForMultipleObjects(count + 1, handles.data(), FALSE, INFINITE);
    const DWORD error = GetLastError();
    lock_.With(
        [&] { std::erase_if(waiters_, [&](const Waiter& waiter) { return waiter.id == id; }); });
    if (result == WAIT_OBJECT_0 + count) {
        result = WAIT_TIMEOUT;
    }
    SetLastError(error);
    return result;
}

std::optional<Clock::Waiter> Clock::EndNextWait(std::uint64_t limitMs)
{
    return lock_.With([&]() -> std::optional<Waiter> {
        const auto next = std::ranges::min_element(waiters_, {}, [](const Waiter& waiter) {
            return std::pair(waiter.deadlineMs, waiter.id);
        });
        if (next == waiters_.end() || next->deadlineMs > limitMs) {
            return std::nullopt;
        }
        nowMs_ = std::max(nowMs_, next->deadlineMs);
        SetEvent(next->wake);
        return *next;
    });
}

void Clock::Slept(DWORD ms)
{
    lock_.With([&] {
        sleeps_.push_back(ms);
        nowMs_ += ms;
        WakeOverdue();
    });
}

void Clock::WakeOverdue() const
{
    for (const Waiter& waiter : waiters_) {
        if (waiter.deadlineMs <= nowMs_) {
            SetEvent(waiter.wake);
        }
    }
}

}  // namespace kelvor::simulator
