#include "started_threads.h"

#include <utility>

#include <doctest.h>

namespace kelvor::test {
namespace {

StartedThreads* active = nullptr;

constexpr DWORD kPatienceMs = 10'000;

}  // namespace

StartedThreads::StartedThreads()
    : patch_(GetModuleHandleW(nullptr), "CreateThread", &StartedThreads::Start)
{
    active = this;
}

StartedThreads::~StartedThreads()
{
    JoinAll();
    active = nullptr;
}

void StartedThreads::JoinAll()
{
    for (const UniqueKernelObject& thread : std::exchange(threads_, {})) {
        CHECK(WaitForSingleObject(thread.Get(), kPatienceMs) == WAIT_OBJECT_0);
    }
}

HANDLE WINAPI StartedThreads::Start(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                                    LPDWORD id)
{
    if (const auto act = std::exchange(active->beforeNext_, {})) {
        act();
    }
    // This program's import table leads here: the function itself is what stood there before.
    const auto create = reinterpret_cast<decltype(&CreateThread)>(active->patch_.Original());
    const HANDLE thread = create(security, stackSize, start, parameter, flags, id);
    HANDLE copy = nullptr;
    DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &copy, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    active->threads_.emplace_back(copy);
    return thread;
}

}  // namespace kelvor::test
