// How a sign-in reaches the card service's pipe, and what it says when it cannot.

#include <algorithm>
#include <string>
#include <vector>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

namespace {

bool EndedWithSuccess(Stage& stage)
{
    return stage.log.HasBeginning("INFO", "async submit: credential ready (");
}

std::vector<DWORD> Busy(std::size_t times)
{
    return std::vector<DWORD>(times, ERROR_PIPE_BUSY);
}

}  // namespace

TEST_CASE("A service that is not running is tried once, without waiting")
{
    Stage stage;
    stage.service.Stop();
    stage.SignIn();
    CHECK(stage.pipe.Calls().Count("CreateFileW") == 1);
    CHECK(stage.pipe.Calls().Count("WaitNamedPipeW") == 0);
    CHECK(stage.clock.Sleeps().empty());
}

TEST_CASE("A service that is not running is said to be so")
{
    Stage stage;
    stage.service.Stop();
    stage.SignIn();
    CHECK(stage.log.Count(
              "ERROR", "softcardctl: pipe not found - KelvorSoftCard service not running?") == 1);
    CHECK(ArmFailed(stage, "0x80070426", "the card service is not running"));
}

TEST_CASE("A pipe that cannot be opened is reported with the system's code")
{
    Stage stage;
    stage.pipe.FailOpens({ERROR_ACCESS_DENIED});
    stage.SignIn();
    CHECK(stage.log.Count("ERROR", "softcardctl: CreateFile(pipe) failed gle=5") == 1);
    CHECK(ArmFailed(stage, "0x80070005", "could not reach the card service"));
}

TEST_CASE("A pipe that cannot be opened without a code is a failure all the same")
{
    Stage stage;
    stage.pipe.FailOpens({ERROR_SUCCESS});
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "softcardctl: CreateFile(pipe) failed gle=0"));
    CHECK(ArmFailed(stage, "0x80004005", "could not reach the card service"));
}

TEST_CASE("The pipe is opened under the service's name")
{
    Stage stage;
    stage.SignIn();
    const auto opens = stage.pipe.Calls().Calls("CreateFileW");
    REQUIRE_FALSE(opens.empty());
    CHECK(opens.front().argument == LR"(\\.\pipe\KelvorSoftCardCtl)");
}

TEST_CASE("A busy service is waited for in steps of a quarter of a second for ten seconds")
{
    Stage stage;
    stage.pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    stage.pipe.FailOpens(Busy(100));
    stage.SignIn();
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>(40, 250));
    CHECK(stage.pipe.Calls().Count("CreateFileW") == 41);
}

TEST_CASE("A busy service's pipe is waited for with the length of the step")
{
    Stage stage;
    stage.pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    stage.pipe.FailOpens(Busy(100));
    stage.SignIn();
    const auto waits = stage.pipe.Calls().Calls("WaitNamedPipeW");
    CHECK(waits.size() == 40);
    CHECK(std::ranges::all_of(waits, [](const simulator::Call& wait) {
        return wait.argument == LR"(\\.\pipe\KelvorSoftCardCtl|250)";
    }));
}

TEST_CASE("A service that stays busy is reported as busy")
{
    Stage stage;
    stage.pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    stage.pipe.FailOpens(Busy(100));
    stage.SignIn();
    CHECK(stage.log.Count("ERROR",
                          "softcardctl: no free pipe instance after 10000ms (last gle=231)") == 1);
    CHECK(ArmFailed(stage, "0x800700E7", "the card service is busy; try again"));
}

TEST_CASE("An instance that becomes free is taken without a sleep")
{
    Stage stage;
    stage.pipe.FailOpens(Busy(3));
    stage.SignIn();
    CHECK(EndedWithSuccess(stage));
    CHECK(stage.pipe.Calls().Count("WaitNamedPipeW") == 3);
    CHECK(stage.clock.Sleeps().empty());
}

TEST_CASE("A service that is gone after it was busy is between two instances")
{
    Stage stage;
    stage.pipe.FailOpens({ERROR_PIPE_BUSY, ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND});
    stage.SignIn();
    CHECK(EndedWithSuccess(stage));
    // Only the busy pipe can be waited for; the missing one is slept over.
    CHECK(stage.pipe.Calls().Count("WaitNamedPipeW") == 1);
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>(2, 250));
}

TEST_CASE("A service that stays gone after it was busy is reported as busy")
{
    Stage stage;
    std::vector<DWORD> codes(100, ERROR_FILE_NOT_FOUND);
    codes.front() = ERROR_PIPE_BUSY;
    stage.pipe.FailOpens(codes);
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "softcardctl: no free pipe instance after 10000ms (last gle=2)"));
    CHECK(ArmFailed(stage, "0x800700E7", "the card service is busy; try again"));
}

TEST_CASE("A busy service that then cannot be opened is reported with that code")
{
    Stage stage;
    stage.pipe.FailOpens({ERROR_PIPE_BUSY, ERROR_ACCESS_DENIED});
    stage.SignIn();
    CHECK(stage.log.Has("ERROR", "softcardctl: CreateFile(pipe) failed gle=5"));
}
