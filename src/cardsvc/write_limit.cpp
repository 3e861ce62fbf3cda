#include "cardsvc/write_limit.h"

#include <cstdint>

namespace kelvor {
namespace {

constexpr std::int64_t kTicksPerMs = 10'000;  // a FILETIME counts 100 ns
// The limit may pass between a write and the flush, when there is nothing to cancel.
constexpr DWORD kAgainMs = 250;

// From now on, as SetThreadpoolTimer takes it: negative.
FILETIME In(DWORD ms) noexcept
{
    const auto ticks = static_cast<std::uint64_t>(-kTicksPerMs * ms);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

void ThreadpoolTimerPolicy::Close(Handle timer) noexcept
{
    SetThreadpoolTimer(timer, nullptr, 0, 0);
    WaitForThreadpoolTimerCallbacks(timer, TRUE);
    CloseThreadpoolTimer(timer);
}

WriteLimit::WriteLimit(HANDLE pipe, DWORD limitMs) noexcept
    : timer_(CreateThreadpoolTimer(&WriteLimit::Cancel, pipe, nullptr))
{
    if (timer_) {
        FILETIME due = In(limitMs);
        SetThreadpoolTimer(timer_.Get(), &due, kAgainMs, 0);
    }
}

void CALLBACK WriteLimit::Cancel(PTP_CALLBACK_INSTANCE, PVOID pipe, PTP_TIMER) noexcept
{
    CancelIoEx(pipe, nullptr);
}

}  // namespace kelvor
