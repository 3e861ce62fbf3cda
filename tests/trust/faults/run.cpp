#include "trust/faults/run.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "support/secret_stage.h"
#include "support/task_memory.h"
#include "trust/faults/handle_book.h"
#include "trust/faults/import_tables.h"
#include "trust/faults/interposer.h"
#include "trust/faults/memory_book.h"
#include "trust/faults/sentinel.h"
#include "trust/support/noted_waits.h"

namespace kelvor::trust {
namespace {

void NoteService(test::Stage& stage, RunRecord& record)
{
    record.armed =
        stage.service.Count("armorprovision") != 0 || stage.service.Count("provision") != 0;
    record.disarmed = stage.service.Count("disarm") != 0;
    record.disarmMissed = stage.log.HasBeginning("WARN", "softcardctl: disarm ");
}

void NoteKey(test::Stage& stage, const Road& road, RunRecord& record)
{
    const auto taps = stage.key.Taps();
    record.taps = taps.size();
    record.wrongPinTried = std::ranges::any_of(taps, [&](const test::TapRequest& tap) {
        return tap.pinGiven && !tap.pinRight && !road.wrongPin;
    });
}

void Walk(test::Stage& stage, const Road& road, RunRecord& record)
{
    PatientLogonUi logonUi(stage, road.visit);
    logonUi.Open();
    logonUi.SignIn();
    if (!logonUi.TilesAreFree()) {
        record.complaints.emplace_back("a lock was left taken");
    }
    logonUi.SayFarewell();
    record.credential = logonUi.Credential();
    record.failures = logonUi.Failures();
    record.status = logonUi.Status();
    record.reported = logonUi.ReportedToModule();
    record.clicks = logonUi.Clicks();
    record.complaints.insert(record.complaints.end(), logonUi.Complaints().begin(),
                             logonUi.Complaints().end());
}

RunRecord WalkOnStage(const Road& road, std::optional<Fault> fault, bool looksForSecrets)
{
    RunRecord record;
    test::SecretStage stage;
    stage.key.SetVerifiesPin();
    if (road.setUp != nullptr) {
        road.setUp(stage);
    }
    Interpose(stage.Module().Handle());
    Sentinel::Guard(stage.Module().Handle());
    const WaitNotes waits(stage.Module().Handle());
    FaultDesk::Mine().Begin(FallibleFunctions().size(), fault);
    {
        std::optional<RunningClock> running;
        if (fault || road.clockRuns) {
            running.emplace(stage.clock, road.clockRuns);
        }
        Walk(stage, road, record);
    }
    record.struck = FaultDesk::Mine().Struck();
    FaultDesk::Mine().Disarm();
    record.calls = FaultDesk::Mine().Calls();
    record.kerberos = stage.lsa.Package();
    NoteService(stage, record);
    NoteKey(stage, road, record);
    if (looksForSecrets) {
        std::ranges::move(stage.SecretsLeft(), std::back_inserter(record.complaints));
    }
    stage.Close();
    return record;
}

}  // namespace

RunRecord Run(std::size_t road, std::optional<Fault> fault, bool looksForSecrets)
{
    const test::TaskMemoryBook taskMemory;
    RunRecord record = WalkOnStage(Roads().at(road), fault, looksForSecrets);
    if (GetModuleHandleW(L"KelvorFidoAdLogonCredentialProvider.dll") != nullptr) {
        record.complaints.emplace_back("the module stays loaded");
    }
    if (MemoryBook::Outstanding() != 0) {
        record.complaints.push_back(std::to_string(MemoryBook::Outstanding()) +
                                    " blocks of memory were not freed");
    }
    if (HandleBook::Outstanding() != 0) {
        record.complaints.push_back(std::to_string(HandleBook::Outstanding()) +
                                    " handles were not closed");
    }
    for (const std::string& block : taskMemory.Left()) {
        record.complaints.push_back("COM task memory was not freed: " + block);
    }
    return record;
}

}  // namespace kelvor::trust
