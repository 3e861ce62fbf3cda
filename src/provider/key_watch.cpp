#include "provider/key_watch.h"

#include <atomic>
#include <memory>
#include <utility>

#include "detached_thread.h"
#include "fido/key_library.h"
#include "provider/domain_probe_report.h"
#include "provider/prompts.h"

namespace kelvor {
namespace {

constexpr DWORD kPollMs = 500;

}  // namespace

// Tells a watch to end. The event ends its wait at once; where the event cannot be set, the mark
// ends it with its poll.
struct KeyWatch::StopSignal {
    explicit StopSignal(UniqueKernelObject manualReset) noexcept : event(std::move(manualReset)) {}

    void Give() noexcept
    {
        given = true;
        SetEvent(event.Get());
    }
    // False when the watch is to end.
    bool PassesPoll() const noexcept
    {
        return WaitForSingleObject(event.Get(), kPollMs) == WAIT_TIMEOUT && !given;
    }

    UniqueKernelObject event;
    std::atomic<bool> given{false};
    std::atomic<DWORD> watchThread{0};
};

void KeyWatch::Start(ComRef<WatchedTile> tile)
{
    if (Runs()) {
        return;
    }
    Running next;
    UniqueKernelObject stop(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!stop) {
        return;
    }
    next.stop = std::make_shared<StopSignal>(std::move(stop));
    const DWORD error = StartDetachedThread(
        [this, stop = next.stop, tile = std::move(tile)] { Watch(*stop); }, next.thread);
    if (error == ERROR_SUCCESS) {
        lock_.With([&] { std::swap(running_, next); });
    }
}

bool KeyWatch::Runs() const
{
    return lock_.With([&] { return static_cast<bool>(running_.thread); });
}

void KeyWatch::Stop() noexcept
{
    Running ending;
    lock_.With([&] { std::swap(running_, ending); });
    if (!ending.thread) {
        return;
    }
    ending.stop->Give();
    // The watch itself comes here when LogonUI calls the tile back from a change that it shows. It
    // ends soon after, and nobody waits for that.
    if (ending.stop->watchThread != GetCurrentThreadId()) {
        WaitForSingleObject(ending.thread.Get(), INFINITE);
    }
}

void KeyWatch::Watch(StopSignal& stop) const
{
    stop.watchThread = GetCurrentThreadId();
    bool last = prov_has_fido_device() != 0;
    while (stop.PassesPoll()) {
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
