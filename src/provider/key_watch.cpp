#include "provider/key_watch.h"

#include <memory>
#include <utility>

#include "fido/key_library.h"
#include "guarded.h"
#include "provider/domain_probe_report.h"
#include "provider/prompts.h"

namespace kelvor {
namespace {

constexpr DWORD kPollMs = 500;

}  // namespace

struct KeyWatch::ThreadStart {
    const KeyWatch& watch;
    SharedEvent stop;
    ComRef<IUnknown> keepAlive;
};

void KeyWatch::Start(ComRef<IUnknown> keepAlive)
{
    if (lock_.With([&] { return static_cast<bool>(running_.thread); })) {
        return;
    }
    Running next;
    UniqueKernelObject stop(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!stop) {
        return;
    }
    next.stop = std::make_shared<UniqueKernelObject>(std::move(stop));
    std::unique_ptr<ThreadStart> start(new ThreadStart{*this, next.stop, std::move(keepAlive)});
    next.thread =
        UniqueKernelObject(CreateThread(nullptr, 0, &KeyWatch::Thread, start.get(), 0, nullptr));
    if (!next.thread) {
        return;
    }
    static_cast<void>(start.release());  // the thread owns it now
    lock_.With([&] { std::swap(running_, next); });
}

void KeyWatch::Stop() noexcept
{
    Running ending;
    lock_.With([&] { std::swap(running_, ending); });
    if (!ending.thread) {
        return;
    }
    SetEvent(ending.stop->Get());
    // The watch itself comes here when LogonUI calls the tile back from a change that it shows, and
    // when its wait failed and it drops the tile's last reference.
    if (GetThreadId(ending.thread.Get()) != GetCurrentThreadId()) {
        WaitForSingleObject(ending.thread.Get(), INFINITE);
    }
}

DWORD WINAPI KeyWatch::Thread(void* parameter) noexcept
{
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(parameter));
    Shielded([&] { start->watch.Watch(start->stop->Get()); });
    return 0;
}

void KeyWatch::Watch(HANDLE stop) const
{
    bool last = prov_has_fido_device() != 0;
    while (WaitForSingleObject(stop, kPollMs) == WAIT_TIMEOUT) {
        ReportDomainProbe(probes_, slot_, fields_, status_);
        const bool now = prov_has_fido_device() != 0;
        if (now != last) {
            last = now;
            OnPresenceChanged(now);
        }
    }
}

void KeyWatch::OnPresenceChanged(bool present) const
{
    fields_.UpdateVisibility(present);
    if (present) {
        status_.Set(prov_has_nfc_device() != 0 ? kNfcKeyPrompt : kKeyPresentPrompt, CPSI_NONE);
    } else {
        fields_.ClearPin();
        status_.Set(kNoKeyPrompt, CPSI_NONE);
    }
}

}  // namespace kelvor
