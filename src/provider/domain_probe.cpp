#include "provider/domain_probe.h"

#include <string>
#include <utility>

#include "detached_thread.h"
#include "diag/log.h"
#include "provider/directory.h"

namespace kelvor {
namespace {

void Ask(DomainProbe& probe)
{
    const DWORD start = GetTickCount();
    std::wstring domainController;
    const DWORD error = LocateDomainController(domainController);
    probe.domainControllerFound = error == ERROR_SUCCESS;
    if (!probe.domainControllerFound) {
        // Not std::to_wstring: it brings all of the compiler's wide printf along.
        const std::string code = std::to_string(error);
        probe.reason = L"DsGetDcName failed (" + std::wstring(code.begin(), code.end()) + L")";
    } else if (!probe.tileName.empty()) {
        probe.upn = UpnOfAccount(probe.tileName);
        if (probe.upn.empty()) {
            probe.reason = L"TranslateName could not map the tile name to a UPN";
        }
    }
    probe.elapsedMs = GetTickCount() - start;
    probe.finished = true;
}

}  // namespace

void DomainProbeSlot::Start(const std::wstring& tileName)
{
    if (Current()) {
        return;
    }
    auto probe = std::make_shared<DomainProbe>(tileName);
    const DWORD error = StartDetachedThread([probe] { Ask(*probe); });
    if (error != ERROR_SUCCESS) {
        LogWarn(
            "domain probe: CreateThread failed (%lu) - the sign-in falls back to comparing leaf names.",
            error);
        return;
    }
    lock_.With([&] {
        if (!probe_) {
            probe_ = std::move(probe);
        }
    });
}

void DomainProbeSlot::Discard()
{
    std::shared_ptr<DomainProbe> old;
    lock_.With([&] { std::swap(probe_, old); });
}

std::shared_ptr<DomainProbe> DomainProbeSlot::Current() const
{
    return lock_.With([&] { return probe_; });
}

DirectoryAnswer DomainProbeSlot::Answer() const
{
    const auto probe = Current();
    if (!probe || !probe->finished) {
        return {};
    }
    return {.known = true,
            .domainControllerFound = probe->domainControllerFound,
            .ageMs = GetTickCount() - probe->createdAtTick,
            .reason = probe->reason,
            .upn = probe->upn};
}

}  // namespace kelvor
