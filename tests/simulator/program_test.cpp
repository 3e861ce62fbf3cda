#include <doctest.h>

#include <stdexcept>
#include <string>

#include "cardservice/pipe_client.h"
#include "program_run.h"
#include "service_rig.h"

namespace {

using namespace kelvor;
using namespace kelvor::simulator;
using kelvor::test::ProgramRun;
using kelvor::test::ScratchFolder;
using kelvor::test::ServiceRig;

constexpr const char* kStatus = R"({"cmd":"status"})";

// The card service as a program in the rig's world, waited for until it serves.
class ServiceProgram {
 public:
    explicit ServiceProgram(const ServiceRig& rig)
        : readyName_(rig.ServiceName() + L"-ready"),
          ready_(CreateEventW(nullptr, TRUE, FALSE, readyName_.c_str())),
          run_(L"KelvorSimCardService.exe",
               L"--name " + rig.ServiceName() + L" --world \"" + rig.WorldPath() +
                   L"\" --state \"" + rig.StateFolder() + L"\" --ready-event " + readyName_)
    {
        const HANDLE handles[] = {ready_.Get(), run_.Process()};
        WaitForMultipleObjects(2, handles, FALSE, 20'000);
    }

    const ProgramRun& Run() const noexcept { return run_; }

 private:
    std::wstring readyName_;
    UniqueKernelObject ready_;
    ProgramRun run_;
};

TEST_CASE("The service tells when it is ready, serves, and stops when asked")
{
    const ServiceRig rig;
    const ServiceProgram service(rig);
    CHECK(rig.AskText(kStatus) == R"({"ok":true,"provisioned":true,"cardHidden":false})");

    CHECK(
        ProgramRun(L"KelvorSimCardService.exe", L"--stop --name " + rig.ServiceName()).ExitCode() ==
        0);

    CHECK(service.Run().ExitCode() == 0);
    const std::string output = service.Run().Output();
    CHECK(output.find("ready") != std::string::npos);
    CHECK(output.find("KelvorSimCardService: status -> {\"ok\":true") != std::string::npos);
}

TEST_CASE("A killed service starts again on the same state")
{
    const ServiceRig rig;
    {
        const ServiceProgram service(rig);
        const auto arm = rig.Tap();
        service.Run().Kill();
        CHECK_THROWS_AS(rig.Arm(arm), std::runtime_error);
    }
    const ServiceProgram again(rig);
    CHECK(rig.RefusalOf(rig.Tap()).empty());
}

TEST_CASE("Arguments and worlds that make no sense have their exit codes and reasons")
{
    struct Row {
        const wchar_t* program;
        const wchar_t* arguments;
        DWORD exitCode;
        const char* says;
    };
    const Row rows[] = {
        {L"KelvorSimCardService.exe", L"--help", 0, "KelvorSoftCardCtl"},
        {L"KelvorSimCardService.exe", L"--nonsense", 2, "unknown argument --nonsense"},
        {L"KelvorSimCardService.exe", L"--world", 2, "--world lacks its value"},
        {L"KelvorSimCardService.exe", L"--verbose --verbose", 2, "--verbose is given twice"},
        {L"KelvorSimCardService.exe", L"", 2, "--state DIR is missing"},
        {L"KelvorSimCardService.exe", L"--stop --name nobody", 1, "no card service is running"},
        {L"KelvorSimCardService.exe", L"--state C:\\x --world C:\\none", 1, "no such file"},
        {L"KelvorSimEnrol.exe", L"--help", 0, "registers the security key"},
        {L"KelvorSimEnrol.exe", L"--nonsense", 2, "unknown argument --nonsense"},
        {L"KelvorSimEnrol.exe", L"", 2, "--state DIR is missing"},
        {L"KelvorSimEnrol.exe", L"--state C:\\x --world C:\\none", 1, "no such file"},
        {L"KelvorSimEnrol.exe", L"--state C:\\x --key C:\\none.dll", 1, "cannot be loaded"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.says);
        const ProgramRun run(row.program, row.arguments);
        CHECK(run.ExitCode() == row.exitCode);
        CHECK(run.Output().find(row.says) != std::string::npos);
    }
}

TEST_CASE("A service in a world without one does not serve")
{
    const ServiceRig rig("[service]\nrunning = no\n");
    const ServiceProgram service(rig);
    CHECK(service.Run().ExitCode() == 3);
}

TEST_CASE("The enrolment shows its progress and leaves what the others need")
{
    const ScratchFolder folder;
    const std::wstring world =
        folder.Write(L"my.world", "[credential]\nupn = eve@corp.example\nregistered = no\n");
    const ProgramRun run(L"KelvorSimEnrol.exe",
                         L"--world \"" + world + L"\" --state \"" + folder.Path() + L"\"");
    CHECK(run.ExitCode() == 0);
    CHECK(run.Output().find("made a credential for alice@corp.example at login.corp.example, not "
                            "registered") != std::string::npos);
    for (const wchar_t* name : {L"key.json", L"registrations.json", L"cards.json", L"ca.cer"}) {
        CHECK(GetFileAttributesW((folder.Path() + L"\\" + name).c_str()) !=
              INVALID_FILE_ATTRIBUTES);
    }
}

TEST_CASE("A service that the world has die, dies at its exchange, before, during or after it")
{
    struct Row {
        const char* how;
        bool answers;
    };
    const Row rows[] = {{"die before", false}, {"die during", false}, {"die after", true}};
    for (const Row& row : rows) {
        CAPTURE(row.how);
        const ServiceRig rig(std::string("[fault]\ncommand = status\noccurrence = 2\ndo = ") +
                             row.how + "\n");
        const ServiceProgram service(rig);
        CHECK(rig.AskText(kStatus).starts_with("{\"ok\":true"));
        if (row.answers) {
            CHECK(rig.AskText(kStatus).starts_with("{\"ok\":true"));
        } else {
            CHECK_THROWS_AS(rig.AskText(kStatus), std::runtime_error);
        }
        CHECK(service.Run().ExitCode() == 70);
    }
}

}  // namespace
