#include "provider/domain_probe_report.h"

#include "diag/log.h"
#include "provider/directory.h"

namespace kelvor {
namespace {

void ReportWaiting(DomainProbe& probe, StatusLine& status)
{
    const DWORD waitedMs = GetTickCount() - probe.createdAtTick;
    if (probe.reported != DomainProbe::Stage::kNothing || waitedMs < kSlowDirectoryMs) {
        return;
    }
    probe.reported = DomainProbe::Stage::kStillWaiting;
    LogWarn("domain probe: still no answer from the directory after %lu ms.", waitedMs);
    status.Set(
        L"Contacting the domain… this is taking longer than usual. Check this PC's network or VPN connection.",
        CPSI_WARNING);
}

void ReportOutcome(DomainProbe& probe, StatusLine& status)
{
    if (probe.reported == DomainProbe::Stage::kOutcome) {
        return;
    }
    probe.reported = DomainProbe::Stage::kOutcome;
    if (!probe.domainControllerFound) {
        LogWarn("domain probe: no domain controller could be located after %lu ms (%ls).",
                probe.elapsedMs, probe.reason.empty() ? L"no reason given" : probe.reason.c_str());
        status.Set(
            L"This PC cannot reach the domain — check its network or VPN connection. Your security key is fine, but signing in needs a domain controller.",
            CPSI_WARNING);
    } else if (probe.elapsedMs >= kSlowDirectoryMs) {
        LogWarn("domain probe: the directory answered, but took %lu ms.", probe.elapsedMs);
        status.Set(
            L"The domain is answering slowly — signing in may take a while or time out. Check this PC's network or VPN connection.",
            CPSI_WARNING);
    } else {
        LogInfo("domain probe: domain controller located in %lu ms; tile UPN %ls.", probe.elapsedMs,
                probe.upn.empty() ? L"unresolved" : probe.upn.c_str());
    }
}

}  // namespace

void ReportDomainProbe(const DomainProbeSlot& probes, const SignInSlot& slot,
                       const TileFields& fields, StatusLine& status)
{
    const auto probe = probes.Current();
    if (!probe || slot.Blocking() || slot.Phase() != SignInPhase::kIdle || status.HoldsError() ||
        fields.PickerUp()) {
        return;
    }
    if (probe->finished) {
        ReportOutcome(*probe, status);
    } else {
        ReportWaiting(*probe, status);
    }
}

}  // namespace kelvor
