#include "surroundings/thread_watch.h"

#include <atomic>

namespace kelvor::simulator {
namespace {

std::atomic<ThreadWatch*> active{nullptr};

constexpr DWORD kPatienceMs = 40'000;

}  // namespace

struct ThreadWatchEntry {
    static HANDLE WINAPI Create(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                                LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                                LPDWORD id)
    {
        ThreadWatch& self = *active;
        if (const auto code = self.calls_.Enter("CreateThread")) {
            SetLastError(*code);
            return nullptr;
        }
        const HANDLE thread = CreateThread(security, stackSize, start, parameter, flags, id);
        HANDLE copy = nullptr;
        DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &copy, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        self.lock_.With([&] { self.threads_.push_back(copy); });
        return thread;
    }
};

ThreadWatch::ThreadWatch(HMODULE module)
{
    active = this;
    patches_.emplace_back(module, "CreateThread", &ThreadWatchEntry::Create);
}

ThreadWatch::~ThreadWatch()
{
    patches_.clear();
    active = nullptr;
    for (const HANDLE thread : threads_) {
        CloseHandle(thread);
    }
}

std::size_t ThreadWatch::Started() const
{
    return lock_.With([&] { return threads_.size(); });
}

DWORD ThreadWatch::IdOf(std::size_t thread) const
{
    return GetThreadId(lock_.With([&] { return threads_.at(thread); }));
}

bool ThreadWatch::Join(std::size_t thread) const
{
    const HANDLE handle = lock_.With([&] { return threads_.at(thread); });
    return WaitForSingleObject(handle, kPatienceMs) == WAIT_OBJECT_0;
}

bool ThreadWatch::JoinFrom(std::size_t first) const
{
    for (std::size_t thread = first; thread < Started(); ++thread) {
        if (!Join(thread)) {
            return false;
        }
    }
    return true;
}

bool ThreadWatch::HasEnded(std::size_t thread) const
{
    const HANDLE handle = lock_.With([&] { return threads_.at(thread); });
    return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
}

}  // namespace kelvor::simulator
