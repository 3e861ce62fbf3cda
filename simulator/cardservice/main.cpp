#include <windows.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "cardservice/service_host.h"
#include "files/whole_file.h"
#include "programs/command_line.h"
#include "text/utf8.h"

namespace {

using namespace kelvor::simulator;
using kelvor::UniqueKernelObject;

constexpr wchar_t kStopEventName[] = L"KelvorSimCardServiceStop";

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNotMeantToRun = 3;

constexpr char kHelp[] =
    R"(KelvorSimCardService - a card service for the sign-in module, with real cryptography

  KelvorSimCardService [--world FILE] [--state DIR] [--key DLL] [--name NAME]
                       [--ready-event NAME] [--verbose]
  KelvorSimCardService --stop [--name NAME]

Serves \\.\pipe\KelvorSoftCardCtl (status, provchallenge, filteraccounts, armorprovision, provision,
disarm) and, for the host of a virtual reader, \\.\pipe\KelvorSimCardReader. KelvorSimEnrol prepares
the state folder.

  --world FILE         the world to live in; otherwise the variable KELVOR_WORLD, otherwise the
                       default world (docs/world.md)
  --name NAME          serves \\.\pipe\KelvorSoftCardCtl-NAME and \\.\pipe\KelvorSimCardReader-NAME
                       instead, beside the service that the module looks for
  --state DIR          the folder that holds registrations, cards and the authority; otherwise the
                       variable KELVOR_WORLD_STATE
  --key DLL            the security-key library that "provision" uses; otherwise
                       KelvorFidoAdLogonFidoNative.dll beside this program
  --ready-event NAME   sets this event once clients can connect
  --verbose            shows requests too; secrets never
  --stop               ends the service that is running in this session
  --help               shows this

Prints "ready" once clients can connect, and a line for every exchange to the error output. Ends on
Ctrl-C, or when the event KelvorSimCardServiceStop (with --name: KelvorSimCardServiceStop-NAME) is
set.

Exit code: 0 ended as asked, 1 failure, 2 bad arguments, 3 the world has no service running,
70 died as the world told it to.
)";

HANDLE stopEvent = nullptr;  // for the console's thread

BOOL WINAPI OnConsoleSignal(DWORD)
{
    return SetEvent(stopEvent);
}

void Report(const std::string& line)
{
    std::fprintf(stderr, "KelvorSimCardService: %s\n", line.c_str());
    std::fflush(stderr);
}

std::wstring StopEventName(const CommandLine& arguments)
{
    return kStopEventName + NameSuffix(arguments.Value(L"--name").value_or(L""));
}

int StopRunningService(const CommandLine& arguments)
{
    const UniqueKernelObject stop(
        OpenEventW(EVENT_MODIFY_STATE, FALSE, StopEventName(arguments).c_str()));
    if (!stop) {
        throw std::runtime_error("no card service is running in this session");
    }
    SetEvent(stop.Get());
    return kExitSuccess;
}

void TellReady(const CommandLine& arguments)
{
    if (const auto name = arguments.Value(L"--ready-event")) {
        const UniqueKernelObject ready(CreateEventW(nullptr, TRUE, FALSE, name->c_str()));
        if (!ready || !SetEvent(ready.Get())) {
            throw std::runtime_error("the event " + ToUtf8(*name) +
                                     " cannot be set: " + ErrorText(GetLastError()));
        }
    }
    std::puts("ready");
    std::fflush(stdout);
}

int Serve(const CommandLine& arguments)
{
    ServiceOptions options;
    options.serviceName = arguments.Value(L"--name").value_or(L"");
    options.worldPath =
        arguments.Value(L"--world").value_or(Environment(L"KELVOR_WORLD").value_or(L""));
    options.stateFolder =
        arguments.Value(L"--state").value_or(Environment(L"KELVOR_WORLD_STATE").value_or(L""));
    if (options.stateFolder.empty()) {
        std::fputs("KelvorSimCardService: --state DIR is missing; --help tells more\n", stderr);
        return kExitUsage;
    }
    options.keyLibrary = arguments.Value(L"--key").value_or(L"");
    options.isVerbose = arguments.Has(L"--verbose");
    options.log = Report;

    ServiceHost host(std::move(options));
    if (!host.IsMeantToRun()) {
        Report("this world has no card service running");
        return kExitNotMeantToRun;
    }
    const UniqueKernelObject stop(
        CreateEventW(nullptr, TRUE, FALSE, StopEventName(arguments).c_str()));
    if (!stop) {
        throw std::runtime_error("CreateEvent: " + ErrorText(GetLastError()));
    }
    host.Start();
    ResetEvent(stop.Get());
    stopEvent = stop.Get();
    SetConsoleCtrlHandler(OnConsoleSignal, TRUE);
    TellReady(arguments);
    host.Run(stop.Get());
    SetConsoleCtrlHandler(OnConsoleSignal, FALSE);
    return kExitSuccess;
}

}  // namespace

int main()
{
    try {
        const CommandLine arguments({{L"--world", true},
                                     {L"--state", true},
                                     {L"--key", true},
                                     {L"--name", true},
                                     {L"--ready-event", true},
                                     {L"--verbose", false},
                                     {L"--stop", false},
                                     {L"--help", false}});
        if (arguments.Has(L"--help")) {
            std::fputs(kHelp, stdout);
            return kExitSuccess;
        }
        try {
            return arguments.Has(L"--stop") ? StopRunningService(arguments) : Serve(arguments);
        } catch (const std::exception& error) {
            Report(error.what());
            return kExitFailure;
        }
    } catch (const std::exception& error) {
        Report(error.what());
        return kExitUsage;
    }
}
