#include "provider/domain_probe_report.h"

#include <doctest.h>

#include "imports/import_table.h"
#include "screenless_tile.h"
#include "started_threads.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using namespace kelvor::test;
using kelvor::simulator::ImportPatch;

namespace {

constexpr DWORD kNoDomain = 1355;  // ERROR_NO_SUCH_DOMAIN

DWORD WINAPI FindNoDomainController(LPCWSTR /*computer*/, LPCWSTR /*domain*/, GUID* /*domainId*/,
                                    LPCWSTR /*site*/, ULONG /*flags*/, void** found)
{
    *found = nullptr;
    return kNoDomain;
}

// A tile whose probe found no domain controller.
struct Unreachable {
    Unreachable()
    {
        probes.Start(L"CORP\\alice");
        threads.JoinAll();
    }
    void Report() { ReportDomainProbe(probes, tile.slot, tile.fields, tile.status); }

    ProgramDataRoom programData;
    LogReader log{programData.LogFile()};
    ImportPatch locator{GetModuleHandleW(nullptr), "DsGetDcNameW", &FindNoDomainController};
    StartedThreads threads;
    ScreenlessTile tile;
    DomainProbeSlot probes{tile.lock};
};

}  // namespace

TEST_CASE("What the directory answered is told when no sign-in is in flight any more")
{
    Unreachable probe;
    probe.tile.slot.Begin();
    probe.Report();
    CHECK((probe.probes.Current()->reported == DomainProbe::Stage::kNothing));
    CHECK_FALSE(probe.tile.status.HoldsError());
    CHECK(probe.tile.status.Empty());
    probe.tile.slot.Abandon();
    probe.Report();
    CHECK((probe.probes.Current()->reported == DomainProbe::Stage::kOutcome));
    CHECK_FALSE(probe.tile.status.Empty());
}

TEST_CASE("What the directory answered is not told while LogonUI waits in a blocking sign-in")
{
    Unreachable probe;
    REQUIRE(probe.tile.slot.EnterBlocking());
    probe.Report();
    CHECK((probe.probes.Current()->reported == DomainProbe::Stage::kNothing));
    CHECK(probe.tile.status.Empty());
    probe.tile.slot.LeaveBlocking();
    probe.Report();
    CHECK((probe.probes.Current()->reported == DomainProbe::Stage::kOutcome));
    CHECK_FALSE(probe.tile.status.Empty());
}

TEST_CASE("An unreachable domain without a reason is logged as having none")
{
    Unreachable probe;
    const auto record = probe.probes.Current();
    record->reason.clear();
    record->elapsedMs = 1200;
    probe.Report();
    CHECK(probe.log.Has(
        "WARN",
        "domain probe: no domain controller could be located after 1200 ms (no reason given)."));
}
