// Every call that the module makes of a function that can fail, made to fail, on every road through
// a sign-in.
#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include <doctest.h>

#include "support/module_under_test.h"
#include "trust/faults/import_tables.h"
#include "trust/faults/interposer.h"
#include "trust/faults/judge.h"
#include "trust/faults/plan.h"
#include "trust/faults/sentinel.h"
#include "trust/support/noted_waits.h"
#include "trust/support/options.h"
#include "trust/support/report.h"

using kelvor::test::ModuleUnderTest;
using kelvor::trust::AllFaults;
using kelvor::trust::Ending;
using kelvor::trust::FallibleFunctions;
using kelvor::trust::Fault;
using kelvor::trust::Grouped;
using kelvor::trust::ImportedNames;
using kelvor::trust::IsLongForm;
using kelvor::trust::Judge;
using kelvor::trust::Judgement;
using kelvor::trust::JudgeUndisturbed;
using kelvor::trust::Narrow;
using kelvor::trust::ReportFigure;
using kelvor::trust::ReportTable;
using kelvor::trust::Roads;
using kelvor::trust::Run;
using kelvor::trust::RunRecord;
using kelvor::trust::Sentinel;
using kelvor::trust::TheOptions;
using kelvor::trust::Tries;
using kelvor::trust::Unfailing;
using kelvor::trust::UnfailingFunctions;
using kelvor::trust::UnprescribedWaits;
using kelvor::trust::Words;

namespace {

constexpr std::size_t kShortCount = 300;
constexpr std::size_t kLooksAtOneIn = 10;  // in the short form

RunRecord RunWatched(std::size_t road, std::optional<Fault> fault, bool looksForSecrets)
{
    Sentinel::Announce(fault ? Words(*fault) : std::string(Roads()[road].name) + ", undisturbed");
    RunRecord record = Run(road, fault, looksForSecrets);
    Sentinel::Announce("");
    return record;
}

std::vector<RunRecord> RunUndisturbed()
{
    std::vector<RunRecord> records;
    for (std::size_t road = 0; road < Roads().size(); ++road) {
        records.push_back(RunWatched(road, std::nullopt, true));
        const std::string name = Roads()[road].name;
        INFO(name);
        for (const std::string& problem : JudgeUndisturbed(Roads()[road], records.back())) {
            FAIL_CHECK(problem);
        }
    }
    return records;
}

// A function that no road calls would be swept in name only.
void CheckThatAllCanHappen(const std::vector<Fault>& faults)
{
    std::set<std::pair<std::size_t, std::size_t>> happening;
    for (const Fault& fault : faults) {
        happening.insert({fault.function, fault.way});
    }
    for (std::size_t function = 0; function < FallibleFunctions().size(); ++function) {
        for (std::size_t way = 0; way < FallibleFunctions()[function]->Ways(); ++way) {
            const std::string name = FallibleFunctions()[function]->Name();
            INFO(name);
            CHECK(happening.contains({function, way}));
        }
    }
}

// What became of one function's failures.
struct Tally {
    std::set<std::uint64_t> calls;
    std::size_t faults = 0;
    std::size_t accepted = 0;
};

class Sweep {
 public:
    explicit Sweep(std::vector<RunRecord> undisturbed) : undisturbed_(std::move(undisturbed)) {}

    void Inject(const Fault& fault)
    {
        const bool looks = IsLongForm() || (injected_ + missed_) % kLooksAtOneIn == 0;
        const RunRecord record = RunWatched(fault.road, fault, looks);
        if (TheOptions().replay) {
            Tell(fault, record);
        }
        if (!record.struck) {
            ++missed_;  // how often a thread has to wait for the pipe differs from run to run
            return;
        }
        const Judgement judgement = Judge(fault, record, undisturbed_.at(fault.road));
        for (const std::string& problem : judgement.problems) {
            FAIL_CHECK(Words(fault) << "\n  " << problem);
        }
        Tally& tally = tallies_[FallibleFunctions()[fault.function]->Name()];
        Fault call = fault;
        call.way = 0;
        tally.calls.insert(call.Number());
        ++tally.faults;
        tally.accepted += judgement.ending == Ending::kAccepted ? 1 : 0;
        ++injected_;
        looks_ += looks ? 1 : 0;
    }

    std::size_t Injected() const { return injected_; }
    std::size_t Missed() const { return missed_; }
    // After how many of them secrets were looked for.
    std::size_t Looks() const { return looks_; }
    std::vector<std::vector<std::string>> Rows() const
    {
        std::vector<std::vector<std::string>> rows;
        for (const auto& [name, tally] : tallies_) {
            rows.push_back({"`" + name + "`", Grouped(tally.calls.size()), Grouped(tally.faults),
                            Grouped(tally.accepted), Grouped(tally.faults - tally.accepted)});
        }
        return rows;
    }

 private:
    static void Tell(const Fault& fault, const RunRecord& record)
    {
        std::printf("%s%s\n  %s, %s\n", Words(fault).c_str(),
                    record.struck ? "" : " did not come to pass",
                    record.credential ? "accepted" : "refused",
                    record.status ? Narrow(*record.status).c_str() : "no tile");
    }

    std::vector<RunRecord> undisturbed_;
    std::map<std::string, Tally> tallies_;
    std::size_t injected_ = 0;
    std::size_t missed_ = 0;
    std::size_t looks_ = 0;
};

}  // namespace

TEST_CASE("Every import of the module either fails in these runs or cannot fail")
{
    const ModuleUnderTest module;
    std::multiset<std::string> listed;
    for (const auto& function : FallibleFunctions()) {
        listed.insert(function->Name());
    }
    for (const Unfailing& function : UnfailingFunctions()) {
        listed.insert(function.name);
    }
    const std::vector<std::string> names = ImportedNames(module.Handle());
    for (const std::string& name : names) {
        INFO(name);
        CHECK(listed.count(name) == 1);
    }
    for (const std::string& name : listed) {
        INFO(name);
        CHECK(std::ranges::count(names, name) == 1);
    }
}

TEST_CASE("Whichever call fails, the logon is whole or the refusal is true, and nothing is left")
{
    Sentinel::Post();
    std::vector<RunRecord> undisturbed = RunUndisturbed();
    const std::vector<Fault> faults = AllFaults(undisturbed, TheOptions().seed);
    CheckThatAllCanHappen(faults);
    Sweep sweep(std::move(undisturbed));
    if (TheOptions().replay) {
        sweep.Inject(Fault::OfNumber(*TheOptions().replay));
        return;
    }
    for (Tries tries(kShortCount); tries.GoOn() && tries.Index() < faults.size(); tries.Next()) {
        sweep.Inject(faults[tries.Index()]);
    }
    CHECK(sweep.Injected() > 0);
    CHECK(sweep.Missed() * 50 <= sweep.Injected());
    CHECK(UnprescribedWaits() == std::vector<std::string>{});
    std::printf("%zu faults of %zu, %zu missed\n", sweep.Injected(), faults.size(), sweep.Missed());
    ReportFigure(
        "Whichever imported function fails, at whichever call and in whichever way its "
        "documentation has, the logon is whole or the refusal is true, and nothing is "
        "left behind",
        Grouped(sweep.Injected()) + " faults of " + Grouped(faults.size()));
    ReportFigure(
        "After such a failure nothing is left of the PIN or of the key's secrets in memory, the "
        "log or a request's other members",
        Grouped(sweep.Looks()) + " searches");
    ReportTable("Failures by imported function",
                {"function", "calls", "faults", "accepted", "refused"}, sweep.Rows());
}
