#include "provider/key_watch.h"

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
    next.stop = std::make_shared<UniqueKernelObject>(std::move(stop));
    const DWORD error = StartDetachedThread(
        [this, stop = next.stop, tile = std::move(tile)] { Watch(stop->Get()); }, next.thread);
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
    SetEvent(ending.stop->Get());
    // The watch itself comes here when LogonUI calls the tile back from a change that it shows. It
    // ends soon after, and nobody waits for that.
    if (GetThreadId(ending.thread.Get()) != GetCurrentThreadId()) {
        WaitForSingleObject(ending.thread.Get(), INFINITE);
    }
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
