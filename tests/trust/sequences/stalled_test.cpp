// LogonUI's thread while everybody that it might wait for stands still.
#include <algorithm>
#include <string>
#include <vector>

#include <doctest.h>

#include "logon_ui_waits.h"
#include "support/readable_failures.h"
#include "support/stage.h"
#include "trust/support/report.h"

using namespace kelvor::trust;
using kelvor::ComRef;
using kelvor::test::Reply;
using kelvor::test::Stage;

namespace {

constexpr DWORD kChallengeMs = 30'000;
constexpr const char* kLogTurn = waits::kLogTurn;

// The waits of LogonUI's thread on a stage; whoever is asked for an answer stays silent.
LogonUiWaits::Callbacks NobodyAnswers(Stage& stage)
{
    return {.onPump = [] {},
            .onPumpEnded = [] {},
            .goOn = [] {},
            .isStuck = [] { return false; },
            .isHeld = [&stage] { return stage.service.Held() != 0; },
            .passTime = [&stage](DWORD ms) { stage.clock.Advance(ms); }};
}

void Stall(Stage& stage)
{
    for (const char* const command :
         {"status", "provchallenge", "filteraccounts", "armorprovision", "provision", "disarm"}) {
        stage.service.Answers(command, Reply::Silence());
    }
    stage.directory.Hold();
}

// Everything that LogonUI asks of a tile, with a sign-in on its way from the click on.
void CallEverything(Stage& stage)
{
    stage.Open();
    stage.Select();
    stage.TypePin();
    stage.TheTile().ReadFields();
    CHECK(stage.Click().IsEmpty());
    CHECK(stage.service.WaitForRequest("provchallenge"));
    stage.TheTile().ReadFields();
    stage.TheTile().Type(L"0000");
    stage.TheTile().SelectAccount(0);
    CHECK(stage.Click().IsEmpty());
    CHECK_FALSE(stage.AskTileCount().autoLogon);
    stage.TheTile().Select();
    stage.TheTile().Deselect();
    ComRef<ICredentialProviderCredential> anew;
    stage.EnumerateAnew();
    CHECK(stage.Provider()->GetCredentialAt(0, anew.Receive()) == S_OK);
    BOOL autoLogon = TRUE;
    CHECK(anew->SetSelected(&autoLogon) == S_OK);
    CHECK(anew->SetDeselected() == S_OK);
}

void GoOn(Stage& stage)
{
    stage.directory.Release();
    CHECK(stage.clock.EndWait(kChallengeMs));
    stage.WaitForWorker();
}

using Lines = std::vector<std::string>;

Lines WaitsBut(const LogonUiWaits& waits, const char* what)
{
    Lines lines;
    for (const auto& [wait, times] : waits.Noted()) {
        if (wait.second != what) {
            lines.push_back(wait.first + ": " + wait.second);
        }
    }
    return lines;
}

std::size_t WaitsFor(const LogonUiWaits& waits, const char* what)
{
    std::size_t sum = 0;
    for (const auto& [wait, times] : waits.Noted()) {
        sum += wait.second == what ? times : 0;
    }
    return sum;
}

}  // namespace

TEST_CASE("With card service and directory stalled, LogonUI's thread waits for the watch alone")
{
    Stage stage;
    const LogonUiWaits waits(stage.Module().Handle(), NobodyAnswers(stage));
    Stall(stage);
    CallEverything(stage);
    CHECK(WaitsBut(waits, kLogTurn) == Lines{"GetSerialization: the end of a thread",
                                             "outside the methods: the end of a thread"});
    GoOn(stage);
    ReportFigure(
        "With card service and directory stalled, LogonUI's thread waits for nothing but "
        "the end of the key watch.",
        "every method");
}

TEST_CASE("With the card service stalled, the disarming waits for its three seconds and no longer")
{
    Stage stage;
    const LogonUiWaits waits(stage.Module().Handle(), NobodyAnswers(stage));
    Stall(stage);
    stage.Open();
    const std::uint64_t before = stage.clock.NowMs();
    stage.Report(0);
    CHECK(WaitsBut(waits, kLogTurn) == Lines{"ReportResult: the card service's answer"});
    CHECK(stage.clock.NowMs() - before == 3000);
    ReportFigure("A card service that does not answer the disarming is waited for once.",
                 "3,000 ms");
}

TEST_CASE("With every instance of the pipe taken, the disarming waits for its ten seconds")
{
    Stage stage;
    const LogonUiWaits waits(stage.Module().Handle(), NobodyAnswers(stage));
    stage.Open();
    stage.pipe.FailOpens(std::vector<DWORD>(100, ERROR_PIPE_BUSY));
    stage.pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    const std::uint64_t before = stage.clock.NowMs();
    stage.Report(0);
    CHECK(WaitsBut(waits, kLogTurn) ==
          Lines{"ReportResult: a free instance of the pipe", "ReportResult: a pause"});
    CHECK(stage.clock.NowMs() - before == 10'000);
    ReportFigure("A card service whose pipe is taken is waited for in the disarming for a time.",
                 "10,000 ms");
}

TEST_CASE("Each line of the log waits once for its turn, two seconds at most")
{
    Stage stage;
    const LogonUiWaits waits(stage.Module().Handle(), NobodyAnswers(stage));
    Stall(stage);
    CallEverything(stage);
    GoOn(stage);
    const auto lines = stage.log.Lines();
    const auto mine =
        std::ranges::count(lines, GetCurrentThreadId(), &kelvor::test::LogLine::threadId);
    CHECK(WaitsFor(waits, kLogTurn) == static_cast<std::size_t>(mine));
    ReportFigure(
        "While another program keeps the log's mutex, a method of LogonUI's waits two "
        "seconds for each line that it writes, and then writes it.",
        Grouped(static_cast<unsigned long long>(mine)) + " lines in all methods together");
}
