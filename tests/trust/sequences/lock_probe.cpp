#include "lock_probe.h"

namespace kelvor::trust {
namespace {

constexpr DWORD kPatienceMs = 5000;

}  // namespace

LockProbe& LockProbe::OfThisProcess()
{
    static LockProbe probe;
    return probe;
}

LockProbe::LockProbe()
    : asked_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      done_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      thread_(CreateThread(nullptr, 0, &LockProbe::Thread, this, 0, nullptr))
{
}

bool LockProbe::Returns(void (*call)(void*), void* subject)
{
    return turn_.With([&] {
        ResetEvent(done_.Get());  // of a call that came too late
        call_ = call;
        subject_ = subject;
        SetEvent(asked_.Get());
        return WaitForSingleObject(done_.Get(), kPatienceMs) == WAIT_OBJECT_0;
    });
}

DWORD WINAPI LockProbe::Thread(void* parameter)
{
    LockProbe& probe = *static_cast<LockProbe*>(parameter);
    for (;;) {
        WaitForSingleObject(probe.asked_.Get(), INFINITE);
        probe.call_(probe.subject_);
        SetEvent(probe.done_.Get());
    }
}

}  // namespace kelvor::trust
