#include "logonui/step_runner.h"

#include <windows.h>

#include <string_view>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

// The PIN as the provider takes it, converted into memory that wipes itself.
Secret<wchar_t> WidePin(std::string_view pin)
{
    const int sizeBytes = static_cast<int>(pin.size());
    const int lengthChars = MultiByteToWideChar(CP_UTF8, 0, pin.data(), sizeBytes, nullptr, 0);
    Secret<wchar_t> wide(static_cast<std::size_t>(lengthChars));
    MultiByteToWideChar(CP_UTF8, 0, pin.data(), sizeBytes, wide.Data(), lengthChars);
    return wide;
}

Session::Trouble ExpectLogon(Session& session, std::string_view text)
{
    constexpr std::string_view refused = "refused ";
    NTSTATUS status = 0;
    const bool isRefusal = text.substr(0, refused.size()) == refused;
    if (!ParseStatus(isRefusal ? text.substr(refused.size()) : text, status) ||
        isRefusal != (status != 0)) {
        return "a logon is 'accepted' or 'refused STATUS'";
    }
    return session.ExpectLogon(status);
}

Session::Trouble ExpectGate(Session& session, std::string_view text)
{
    if (text != "open" && text != "closed") {
        return "a gate is open or closed";
    }
    return session.ExpectGate(text == "open");
}

Session::Trouble RunExpectation(Session& session, const Step& step)
{
    switch (step.kind) {
        case StepKind::kExpectTiles:
            return session.ExpectTiles(step.number);
        case StepKind::kExpectStatus:
            return session.ExpectStatus(ToWide(step.text));
        case StepKind::kExpectLogon:
            return ExpectLogon(session, step.text);
        case StepKind::kExpectLog:
            return session.ExpectLog(std::string(step.text), true);
        case StepKind::kExpectNoLog:
            return session.ExpectLog(std::string(step.text), false);
        case StepKind::kExpectGate:
            return ExpectGate(session, step.text);
        case StepKind::kExpectButton:
            return session.ExpectButton(true);
        case StepKind::kExpectNoButton:
            return session.ExpectButton(false);
        case StepKind::kExpectBlinking:
            return session.ExpectBlinking();
        case StepKind::kPicture:
            return "this screen is text and takes no pictures";
        default:
            return "this command belongs to the prompt";
    }
}

}  // namespace

std::optional<std::string> RunStep(Session& session, const Step& step)
{
    switch (step.kind) {
        case StepKind::kSelectTile:
            return session.Select(step.number);
        case StepKind::kDeselect:
            return session.Deselect();
        case StepKind::kInsertKey:
            return session.InsertKey(false);
        case StepKind::kInsertKeyNfc:
            return session.InsertKey(true);
        case StepKind::kRemoveKey:
            return session.RemoveKey();
        case StepKind::kTypePin:
            return session.TypePin(WidePin(step.text));
        case StepKind::kChooseRow:
            return session.ChooseRow(step.number);
        case StepKind::kClick:
            return session.Click();
        case StepKind::kTouch:
            return session.Touch();
        case StepKind::kStartService:
            return session.StartService();
        case StepKind::kKillService:
            return session.KillService();
        case StepKind::kKillServiceBefore:
            return session.KillServiceAt(step.number, ExchangeStage::kConnecting);
        case StepKind::kKillServiceDuring:
            return session.KillServiceAt(step.number, ExchangeStage::kAsked);
        case StepKind::kKillServiceAfter:
            return session.KillServiceAt(step.number, ExchangeStage::kOver);
        case StepKind::kKillServiceAtLogon:
            return session.KillServiceAtLogon();
        default:
            return RunExpectation(session, step);
    }
}

bool RunScenario(Session& session, Scenario& scenario, const std::string& fileName,
                 Transcript& transcript)
{
    for (const Scenario::Line& line : scenario.Lines()) {
        const Session::Trouble trouble = RunStep(session, line.step);
        if (line.step.kind == StepKind::kTypePin) {
            scenario.Forget(line);
        }
        if (trouble) {
            transcript.Line("");
            transcript.Line(fileName + ":" + std::to_string(line.number) + ": " + *trouble);
            return false;
        }
    }
    return true;
}

}  // namespace kelvor::simulator
