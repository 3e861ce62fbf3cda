#include "logonui/step_runner.h"

#include <windows.h>

#include <stdexcept>
#include <string_view>

#include "text/utf8.h"
#include "world/values.h"

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

// Runs `act` with the value that `text` means, or tells what is wrong with it.
template <class Read, class Act>
Session::Trouble WithValue(std::string_view text, Read&& read, Act&& act)
{
    try {
        return act(read(text));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

Session::Trouble ShowScreen(Session& session, std::string_view text)
{
    return WithValue(text, ReadScreen, [&](Screen screen) {
        session.ShowScreen(screen);
        return Session::Trouble();
    });
}

Session::Trouble AnswerLogon(Session& session, std::string_view text)
{
    return WithValue(text, ReadStatus, [&](DWORD status) {
        return session.AnswerNextLogon(static_cast<NTSTATUS>(status));
    });
}

Session::Trouble AnswerTap(Session& session, std::string_view text)
{
    return WithValue(text, ReadCode, [&](int code) { return session.AnswerNextTap(code); });
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
        case StepKind::kExpectExchange:
            return session.ExpectExchange(std::string(step.text));
        case StepKind::kExpectRest:
            return session.Rest();
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
        case StepKind::kPass:
            return session.Pass(step.number);
        case StepKind::kCollect:
            return session.Collect();
        case StepKind::kShowScreen:
            return ShowScreen(session, step.text);
        case StepKind::kAnswerLogon:
            return AnswerLogon(session, step.text);
        case StepKind::kAnswerTap:
            return AnswerTap(session, step.text);
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
    if (const Session::Trouble trouble = session.Rest()) {
        transcript.Line(fileName + ": " + *trouble);
        return false;
    }
    return true;
}

}  // namespace kelvor::simulator
