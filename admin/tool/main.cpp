// KelvorFidoAdLogonAdmin.exe: what an administrator asks about the sign-in with a security key.
#include <windows.h>

#include "check/check_command.h"
#include "console/arguments.h"
#include "console/command.h"
#include "console/output.h"
#include "console/program.h"
#include "explain/explain_command.h"
#include "log/log_command.h"

int main()
{
    using namespace kelvor::admin;
    constexpr Command kCommands[] = {
        kCheckCommand,
        kExplainCommand,
        kLogCommand,
    };
    const StandardStream output(STD_OUTPUT_HANDLE);
    const StandardStream error(STD_ERROR_HANDLE);
    return RunProgram(WordsOfThisProcess(), kCommands, output.Stream(), error.Stream());
}
