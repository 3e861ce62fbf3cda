#include "hang_watch.h"

#include <cstdio>
#include <utility>

namespace kelvor::trust {
namespace {

constexpr DWORD kPatienceMs = 60'000;

}  // namespace

HangWatch::HangWatch(std::string what)
    : what_(std::move(what)),
      heard_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      thread_(CreateThread(nullptr, 0, &HangWatch::Thread, this, 0, nullptr))
{
}

HangWatch::~HangWatch()
{
    over_ = true;
    SetEvent(heard_.Get());
    WaitForSingleObject(thread_.Get(), INFINITE);
}

void HangWatch::Hear(const char* next)
{
    next_ = next;
    SetEvent(heard_.Get());
}

DWORD WINAPI HangWatch::Thread(void* parameter)
{
    const HangWatch& watch = *static_cast<HangWatch*>(parameter);
    while (!watch.over_) {
        if (WaitForSingleObject(watch.heard_.Get(), kPatienceMs) == WAIT_TIMEOUT) {
            std::printf("%s: %s has not returned for a minute\n", watch.what_.c_str(),
                        watch.next_.load());
            std::fflush(stdout);
            TerminateProcess(GetCurrentProcess(), kExitCode);
        }
    }
    return 0;
}

}  // namespace kelvor::trust
