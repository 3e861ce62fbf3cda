#include "preview/show.h"

#include <stdexcept>
#include <utility>

#include "logonui/session.h"
#include "logonui/state_folder.h"
#include "logonui/step_runner.h"
#include "preview/player.h"
#include "preview/preview_window.h"
#include "preview/screen_names.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// The world of the scenario; the key and the card service find it in the state folder.
World MakeWorld(Scenario& scenario, const std::wstring& name, const StateFolder& state)
{
    const std::wstring path = state.Write(L"world.ini", scenario.World());
    state.Publish(path);
    World world = ParseWorld(scenario.World(), ToUtf8(name));
    world.key.pin.Clear();  // the user's secret, which the screen has no business with
    scenario.ForgetWorld();
    return world;
}

// What the scenario prepares before the first click and no hand could do at the right moment.
void SetTraps(Session& session, const Scenario& scenario)
{
    for (const Scenario::Line& line : scenario.Lines()) {
        switch (line.step.kind) {
            case StepKind::kClick:
                return;
            case StepKind::kKillServiceBefore:
            case StepKind::kKillServiceDuring:
            case StepKind::kKillServiceAfter:
            case StepKind::kKillServiceAtLogon:
                RunStep(session, line.step);
                break;
            default:
                break;
        }
    }
}

}  // namespace

std::optional<std::size_t> ShowSituation(const std::vector<Situation>& situations,
                                         std::size_t current, const std::wstring& pictures)
{
    Scenario scenario = Scenario::Load(situations[current].path);
    const StateFolder state(L"");
    World world = MakeWorld(scenario, situations[current].path, state);

    // Neither is destroyed; see Session. The window outlives what the provider's threads tell it.
    PreviewWindow& window = *new PreviewWindow(situations, current);
    Transcript& transcript = *new Transcript(true);
    transcript.SetListener([&window](std::string_view event) { window.Happened(event); });
    window.Area().SetPlace(world.pc.name, TextOf(world.pc.screen));
    window.Area().SetNotice(L"The world of this situation is being made…");
    window.World().SetWorld(
        {world.key.presence, world.screen.collectsAtOnce, world.pc.screen, HintOf(scenario)});
    window.Show();

    SessionOptions options;
    options.stateFolder = state.Path();
    options.withService = true;
    options.changed = [&window] { window.Changed(); };
    Session& session = *new Session(std::move(world), std::move(options), transcript);
    const SessionEnd end(session);
    session.Begin();
    window.Attach(session);
    std::optional<Player> player;
    if (pictures.empty()) {
        SetTraps(session, scenario);
    } else {
        player.emplace(scenario, session, window, pictures);
        window.SetPoll([&player] { player->Advance(); });
    }
    session.Loop().RunUntil([&window] { return window.Over(); }, INFINITE);
    window.SetPoll(nullptr);
    if (window.Failure()) {
        throw std::runtime_error(*window.Failure());
    }
    return window.World().Next();
}

}  // namespace kelvor::simulator
