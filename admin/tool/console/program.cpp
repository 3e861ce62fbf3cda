#include "console/program.h"

#include <algorithm>
#include <exception>

#include "cardsvc/utf_text.h"
#include "console/arguments.h"
#include "console/version.h"

namespace kelvor::admin {
namespace {

constexpr const char* kProgram = "KelvorFidoAdLogonAdmin";

bool AsksForHelp(const std::wstring& word)
{
    return word == L"--help" || word == L"-h" || word == L"/?";
}

std::string GeneralHelp(std::span<const Command> commands)
{
    std::string text = std::string("Usage: ") + kProgram +
                       " COMMAND [ARGUMENT...]\n"
                       "\n"
                       "Looks at this PC's sign-in with a security key. It changes nothing.\n"
                       "\n"
                       "Commands:\n";
    for (const Command& command : commands) {
        std::string name = command.name;
        name.resize(std::max<std::size_t>(name.size() + 2, 10), ' ');
        text += "  " + name + command.summary + "\n";
    }
    return text +
           "\n"
           "  help COMMAND, or COMMAND --help, tells more about one of them.\n"
           "  --version tells the version.\n"
           "\n"
           "Exit code 2 stands for wrong use, 4 for a failure of the tool itself.\n"
           "With NO_COLOR in the environment nothing is coloured.\n";
}

const Command& Find(std::span<const Command> commands, const std::wstring& name)
{
    const auto found = std::ranges::find_if(
        commands, [&](const Command& command) { return command.name == Utf16ToUtf8(name); });
    if (found == commands.end()) {
        throw WrongUse("unknown command " + Utf16ToUtf8(name));
    }
    return *found;
}

int ShowHelp(const std::vector<std::wstring>& operands, std::span<const Command> commands,
             const Output& output)
{
    if (operands.size() > 1) {
        throw WrongUse("help tells about one command at a time");
    }
    output.Write(operands.empty() ? GeneralHelp(commands) : Find(commands, operands.front()).help);
    return kExitDone;
}

int Run(const std::vector<std::wstring>& words, std::span<const Command> commands,
        const Output& output)
{
    if (words.empty()) {
        throw WrongUse("a command is missing");
    }
    const std::wstring& name = words.front();
    const std::vector<std::wstring> rest(words.begin() + 1, words.end());
    if (AsksForHelp(name) || name == L"help") {
        return ShowHelp(rest, commands, output);
    }
    if (name == L"--version") {
        if (!rest.empty()) {
            throw WrongUse("--version takes nothing behind it");
        }
        output.Line(std::string(kProgram) + " " + ProductVersion());
        return kExitDone;
    }
    const Command& command = Find(commands, name);
    if (std::ranges::any_of(rest, AsksForHelp)) {
        output.Write(command.help);
        return kExitDone;
    }
    return command.run(rest, output);
}

}  // namespace

int RunProgram(const std::vector<std::wstring>& words, std::span<const Command> commands,
               const Output& output, const Output& error) noexcept
{
    try {
        return Run(words, commands, output);
    } catch (const WrongUse& wrong) {
        error.Line(std::string(kProgram) + ": " + wrong.what() + "; --help tells more");
        return kExitWrongUse;
    } catch (const std::exception& failure) {
        error.Line(std::string(kProgram) + ": " + failure.what());
        return kExitToolFailed;
    }
}

}  // namespace kelvor::admin
