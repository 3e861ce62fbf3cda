#include "logonui/options.h"

#include <charconv>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

struct FlagRow {
    const wchar_t* name;
    bool Options::*flag;
};
constexpr FlagRow kFlags[] = {
    {L"--help", &Options::help},
    {L"-h", &Options::help},
    {L"--unregister", &Options::unregister},
    {L"--with-service", &Options::withService},
    {L"--enrolled", &Options::enrolled},
    {L"--quiet", &Options::quiet},
};

struct ValueRow {
    const wchar_t* name;
    std::wstring Options::*value;
};
constexpr ValueRow kValues[] = {
    {L"--register", &Options::registerModule},
    {L"--script", &Options::script},
    {L"--world", &Options::world},
    {L"--state", &Options::state},
    {L"--transcript", &Options::transcript},
    {L"--kdc", &Options::kdc},
};

template <class Row, std::size_t kCount>
const Row* FindRow(const Row (&rows)[kCount], const std::wstring& name)
{
    for (const Row& row : rows) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

unsigned short ParsePort(const std::wstring& text)
{
    const std::string digits = ToUtf8(text);
    const char* const last = digits.data() + digits.size();
    unsigned short port = 0;
    const auto [end, error] = std::from_chars(digits.data(), last, port);
    if (error != std::errc() || end != last || port == 0) {
        throw UsageError("--kdc wants the number of a port, not '" + digits + "'");
    }
    return port;
}

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments)
{
    Options options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::wstring& argument = arguments[at];
        if (const FlagRow* flag = FindRow(kFlags, argument)) {
            options.*flag->flag = true;
        } else if (const ValueRow* value = FindRow(kValues, argument)) {
            if (at + 1 == arguments.size() || arguments[at + 1].empty()) {
                throw UsageError(ToUtf8(argument) + " wants a value");
            }
            options.*value->value = arguments[++at];
        } else {
            throw UsageError("unknown option " + ToUtf8(argument));
        }
    }
    options.deskPort = options.kdc.empty() ? 0 : ParsePort(options.kdc);
    if (!options.script.empty() && !options.world.empty()) {
        throw UsageError("a scenario brings its own world: --world does not go with --script");
    }
    if (options.script.empty() && !options.transcript.empty()) {
        throw UsageError("only a scenario has a transcript: --transcript goes with --script");
    }
    if (options.enrolled && options.state.empty()) {
        throw UsageError("a fresh folder is not enrolled: --enrolled goes with --state");
    }
    return options;
}

const char* Usage() noexcept
{
    return R"(KelvorSimLogonUi: a sign-in screen, as text, for the registered credential provider.

  KelvorSimLogonUi [--with-service] [--world FILE] [--state FOLDER]
      lets you sit at the screen; 'help' there lists what you can do
  KelvorSimLogonUi [--with-service] [--state FOLDER] --script FILE
      plays a scenario file
  KelvorSimLogonUi --register DLL | --unregister
      enters the provider in the registry, or takes it out

  --with-service   enrols the world's accounts and starts the card service beside this program;
                   without it, both are yours to do
  --enrolled       the state folder is enrolled already
  --kdc PORT       a Kerberos domain decides over the logon: the port of its ticket desk
  --world FILE     the world to play in (a default one without)
  --state FOLDER   where keys, cards and registrations are kept (a fresh folder without, which is
                   removed at the end)
  --transcript FILE
                   writes what a person saw of the scenario, without times: the same in every run
  --quiet          nothing but problems

The screen's settings are written into the registry: use a Wine prefix, or a machine, of your own.
Exit status: 0 the scenario ended as its file says, 1 it did not, 2 wrong usage, 3 it could not run.
)";
}

}  // namespace kelvor::simulator
