#include "provider/domain_probe.h"

#define SECURITY_WIN32
#include <security.h>
// windows.h and security.h first: these two rely on them.
#include <dsgetdc.h>
#include <lm.h>

#include <utility>

#include "detached_thread.h"
#include "diag/log.h"
#include "handle.h"

namespace kelvor {
namespace {

constexpr ULONG kUpnCapacityChars = 512;

struct NetBufferPolicy {
    using Handle = DOMAIN_CONTROLLER_INFOW*;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle buffer) noexcept { NetApiBufferFree(buffer); }
};

void LocateDomainController(DomainProbe& probe)
{
    Unique<NetBufferPolicy> controller;
    const DWORD error =
        DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, DS_RETURN_DNS_NAME, controller.Receive());
    probe.domainControllerFound = error == ERROR_SUCCESS;
    if (!probe.domainControllerFound) {
        probe.reason = L"DsGetDcName failed (" + std::to_wstring(error) + L")";
    }
}

void TranslateTileName(DomainProbe& probe)
{
    wchar_t upn[kUpnCapacityChars] = {};
    ULONG capacityChars = kUpnCapacityChars;
    if (TranslateNameW(probe.tileName.c_str(), NameSamCompatible, NameUserPrincipal, upn,
                       &capacityChars) &&
        upn[0] != L'\0') {
        upn[kUpnCapacityChars - 1] = L'\0';
        probe.upn = upn;
    } else {
        probe.reason = L"TranslateName could not map the tile name to a UPN";
    }
}

void Ask(DomainProbe& probe)
{
    const DWORD start = GetTickCount();
    LocateDomainController(probe);
    if (probe.domainControllerFound && !probe.tileName.empty()) {
        TranslateTileName(probe);
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
