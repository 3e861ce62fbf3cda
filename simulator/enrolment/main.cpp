#include <cstdio>
#include <exception>
#include <string>

#include "enrolment/enrolment.h"
#include "programs/command_line.h"

namespace {

using namespace kelvor::simulator;

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

constexpr char kHelp[] =
    R"(KelvorSimEnrol - registers the security key of a world and prepares its state folder

  KelvorSimEnrol [--world FILE] [--state DIR] [--key DLL]

  --world FILE   the world to enrol; otherwise the variable KELVOR_WORLD, otherwise the default
                 world (docs/world.md)
  --state DIR    the folder to prepare, created when missing; otherwise the variable
                 KELVOR_WORLD_STATE. What an earlier enrolment left there is replaced.
  --key DLL      the security-key library; otherwise KelvorFidoAdLogonFidoNative.dll beside this
                 program
  --help         shows this

Writes the key's memory (key.json), the sign-in server's registrations (registrations.json), the
certification authority (ca.json, and ca.cer for those who are to trust it) and the virtual cards
(cards.json). No card service may run on the folder meanwhile.

Exit code: 0 done, 1 failure, 2 bad arguments.
)";

int Report(const char* problem, int exitCode)
{
    std::fprintf(stderr, "KelvorSimEnrol: %s\n", problem);
    return exitCode;
}

int Run(const CommandLine& arguments)
{
    if (arguments.Has(L"--help")) {
        std::fputs(kHelp, stdout);
        return kExitSuccess;
    }
    EnrolmentOptions options;
    options.worldPath =
        arguments.Value(L"--world").value_or(Environment(L"KELVOR_WORLD").value_or(L""));
    options.stateFolder =
        arguments.Value(L"--state").value_or(Environment(L"KELVOR_WORLD_STATE").value_or(L""));
    options.keyLibrary = arguments.Value(L"--key").value_or(L"");
    options.progress = [](const std::string& line) {
        std::puts(line.c_str());
        std::fflush(stdout);
    };
    if (options.stateFolder.empty()) {
        return Report("--state DIR is missing; --help tells more", kExitUsage);
    }
    try {
        Enrol(options);
        return kExitSuccess;
    } catch (const std::exception& error) {
        return Report(error.what(), kExitFailure);
    }
}

}  // namespace

int main()
{
    try {
        return Run(CommandLine(
            {{L"--world", true}, {L"--state", true}, {L"--key", true}, {L"--help", false}}));
    } catch (const std::exception& error) {
        return Report(error.what(), kExitUsage);
    }
}
