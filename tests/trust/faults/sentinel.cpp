#include "trust/faults/sentinel.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "imports/import_table.h"
#include "lock.h"
#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

constexpr DWORD kRunLimitMs = 60'000;
constexpr DWORD kLookMs = 1000;
constexpr DWORD kStepMs = 20;
constexpr DWORD kLongStrideMs = 10'000;
constexpr DWORD kShortStrideMs = 500;
constexpr DWORD kStandstillMs = 5000;
constexpr UINT kDied = 70;

struct Watched {
    Lock lock;
    std::string fault;
    ULONGLONG sinceMs = 0;
};

Watched& TheWatched()
{
    static Watched watched;
    return watched;
}

// No lock: whoever dies may hold it.
void LastWords(const char* how)
{
    std::fprintf(stderr, "%s: %s\n", how, TheWatched().fault.c_str());
    std::fflush(stderr);
}

LONG WINAPI OnException(EXCEPTION_POINTERS* exception)
{
    std::fprintf(stderr, "exception 0x%08lX at %p\n", exception->ExceptionRecord->ExceptionCode,
                 exception->ExceptionRecord->ExceptionAddress);
    LastWords("CRASH");
    TerminateProcess(GetCurrentProcess(), kDied);
    return EXCEPTION_CONTINUE_SEARCH;
}

void OnAbort()
{
    LastWords("ABORT");
    TerminateProcess(GetCurrentProcess(), kDied);
}

// A stand-in for each import that is never called, so that the call tells which one it was.
template <std::size_t kRow>
void OnForbiddenCall()
{
    std::fprintf(stderr, "%s is called, which never happens\n", UnfailingFunctions()[kRow].name);
    LastWords("CALL");
    TerminateProcess(GetCurrentProcess(), kDied);
}

constexpr std::size_t kRows = 128;

template <std::size_t... kRow>
constexpr std::array<void (*)(), kRows> TrapsOf(std::index_sequence<kRow...>)
{
    return {&OnForbiddenCall<kRow>...};
}
constexpr auto kTraps = TrapsOf(std::make_index_sequence<kRows>());

DWORD WINAPI WatchRuns(void*)
{
    Watched& watched = TheWatched();
    for (;;) {
        Sleep(kLookMs);
        const bool stuck = watched.lock.With([&] {
            return !watched.fault.empty() && GetTickCount64() - watched.sinceMs > kRunLimitMs;
        });
        if (stuck) {
            LastWords("HANG");
            TerminateProcess(GetCurrentProcess(), kDied);
        }
    }
}

}  // namespace

void Sentinel::Post()
{
    static const HANDLE thread = CreateThread(nullptr, 0, &WatchRuns, nullptr, 0, nullptr);
    static_cast<void>(thread);
}

void Sentinel::Guard(HMODULE module)
{
    SetUnhandledExceptionFilter(&OnException);  // the stage has put its own in its place
    for (const simulator::Import& import : simulator::ListImports(module)) {
        const auto listed = UnfailingFunctions();
        const auto row = std::ranges::find(listed, import.function, &Unfailing::name);
        if (import.function == "abort") {
            simulator::ReplaceImport(import, reinterpret_cast<void*>(&OnAbort));
        } else if (row != listed.end() && !row->called) {
            const auto number = static_cast<std::size_t>(row - listed.begin());
            simulator::ReplaceImport(import, reinterpret_cast<void*>(kTraps.at(number)));
        }
    }
}

void Sentinel::Announce(const std::string& fault)
{
    Watched& watched = TheWatched();
    watched.lock.With([&] {
        watched.fault = fault;
        watched.sinceMs = GetTickCount64();
    });
}

RunningClock::RunningClock(simulator::Clock& clock, bool atOnce)
    : clock_(clock),
      patienceMs_(atOnce ? kStepMs : kStandstillMs),
      strideMs_(atOnce ? kLongStrideMs : kShortStrideMs),
      stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      thread_(CreateThread(nullptr, 0, &RunningClock::Run, this, 0, nullptr))
{
}

RunningClock::~RunningClock()
{
    SetEvent(stop_.Get());
    WaitForSingleObject(thread_.Get(), INFINITE);
}

DWORD WINAPI RunningClock::Run(void* self)
{
    const auto& running = *static_cast<RunningClock*>(self);
    for (DWORD waitMs = running.patienceMs_;
         WaitForSingleObject(running.stop_.Get(), waitMs) == WAIT_TIMEOUT; waitMs = kStepMs) {
        running.clock_.Advance(running.strideMs_);
    }
    return 0;
}

}  // namespace kelvor::trust
