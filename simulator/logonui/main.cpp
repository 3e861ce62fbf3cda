#include <windows.h>

#include <objbase.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "files/whole_file.h"
#include "logonui/options.h"
#include "logonui/prompt.h"
#include "logonui/registration.h"
#include "logonui/scenario.h"
#include "logonui/session.h"
#include "logonui/state_folder.h"
#include "logonui/step_runner.h"
#include "logonui/transcript.h"
#include "programs/command_line.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

enum ExitStatus : int { kAsExpected = 0, kDifferent = 1, kWrongUsage = 2, kFailed = 3 };

// Longer than anything that the module or a world waits for by itself.
constexpr DWORD kScenarioPatienceMs = 30'000;
// A person can try again.
constexpr DWORD kPromptPatienceMs = 5'000;

World MakeWorld(const Options& options, std::optional<Scenario>& scenario, const StateFolder& state)
{
    // The key and the card service read the same file: this process only needs what is in it.
    std::wstring path = options.world;
    if (path.empty()) {
        path = state.Write(L"world.ini", scenario ? scenario->World() : std::string_view());
    }
    state.Publish(path);
    World world =
        scenario ? ParseWorld(scenario->World(), ToUtf8(options.script)) : LoadWorld(path);
    world.key.pin.Clear();  // the user's secret, which the screen has no business with
    if (scenario) {
        scenario->ForgetWorld();
    }
    return world;
}

void WriteStory(const std::wstring& path, const std::string& description,
                const std::vector<std::string>& story)
{
    std::string text = description + "\n\n";
    for (const std::string& line : story) {
        text += line + "\n";
    }
    ReplaceWholeFile(path, text);
}

int Play(const Options& options)
{
    std::optional<Scenario> scenario;
    if (!options.script.empty()) {
        scenario = Scenario::Load(options.script);
    }
    const StateFolder state(options.state);
    World world = MakeWorld(options, scenario, state);
    Transcript transcript(options.quiet);
    if (scenario) {
        transcript.Line(scenario->Description());
    }
    const DWORD patienceMs = scenario ? kScenarioPatienceMs : kPromptPatienceMs;
    // Never destroyed; see Session.
    Session& session = *new Session(std::move(world),
                                    {.stateFolder = state.Path(),
                                     .withService = options.withService,
                                     .enrolled = options.enrolled,
                                     .deskPort = options.deskPort,
                                     .patienceMs = patienceMs,
                                     .timeStandsStill = scenario.has_value()},
                                    transcript);
    const SessionEnd end(session);
    session.Begin();
    bool asExpected = true;
    if (scenario) {
        asExpected = RunScenario(session, *scenario, ToUtf8(options.script), transcript);
    } else {
        RunPrompt(session, transcript);
    }
    session.End();
    session.ShowLog();
    if (!options.transcript.empty()) {
        WriteStory(options.transcript, scenario->Description(), session.View().Story());
    }
    if (scenario) {
        transcript.Heading(asExpected ? "ended as the scenario says"
                                      : "did NOT end as the scenario says");
    }
    return asExpected ? kAsExpected : kDifferent;
}

int Run()
{
    try {
        const Options options = ParseOptions(Arguments());
        if (options.help) {
            std::fputs(Usage(), stdout);
            return kAsExpected;
        }
        if (!options.registerModule.empty()) {
            RegisterProvider(options.registerModule);
            return kAsExpected;
        }
        if (options.unregister) {
            UnregisterProvider();
            return kAsExpected;
        }
        return Play(options);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "KelvorSimLogonUi: %s\n\n%s", error.what(), Usage());
        return kWrongUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "KelvorSimLogonUi: %s\n", error.what());
        return kFailed;
    }
}

}  // namespace
}  // namespace kelvor::simulator

int main()
{
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int status = SUCCEEDED(apartment) ? kelvor::simulator::Run() : kelvor::simulator::kFailed;
    std::fflush(nullptr);
    // Not through the end of main: threads of the module may still run in what stands around it.
    ExitProcess(static_cast<UINT>(status));
}
