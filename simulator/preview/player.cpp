#include "preview/player.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "logonui/step_runner.h"
#include "preview/controls.h"
#include "text/utf8.h"
#include "world/values.h"

namespace kelvor::simulator {
namespace {

// Longer than anything that the module or a world waits for by itself.
constexpr ULONGLONG kPatienceMs = 60'000;

}  // namespace

Player::Player(Scenario& scenario, Session& session, PreviewWindow& window, std::wstring folder)
    : scenario_(scenario),
      session_(session),
      window_(window),
      folder_(std::move(folder)),
      sinceTick_(GetTickCount64())
{
}

void Player::Advance()
{
    if (std::exchange(advancing_, true)) {
        return;
    }
    const auto& lines = scenario_.Lines();
    while (next_ < lines.size()) {
        window_.RefreshNow();
        const Scenario::Line& line = lines[next_];
        if (const Trouble trouble = Take(line)) {
            if (GetTickCount64() - sinceTick_ > kPatienceMs) {
                throw std::runtime_error("line " + std::to_string(line.number) + ": " + *trouble);
            }
            break;
        }
        if (line.step.kind == StepKind::kTypePin) {
            scenario_.Forget(line);
        }
        ++next_;
        sinceTick_ = GetTickCount64();
    }
    if (next_ == lines.size()) {
        window_.Close();
    }
    advancing_ = false;
}

Player::Trouble Player::Take(const Scenario::Line& line)
{
    const Step& step = line.step;
    switch (step.kind) {
        case StepKind::kSelectTile:
            return ChooseTile(step.number);
        case StepKind::kDeselect:
            TypeKey(VK_ESCAPE);
            return std::nullopt;
        case StepKind::kInsertKey:
            return Press(kPlugInId);
        case StepKind::kInsertKeyNfc:
            return Press(kLayOnReaderId);
        case StepKind::kRemoveKey:
            return Press(kTakeAwayId);
        case StepKind::kTypePin:
            return TypePin(step.text);
        case StepKind::kChooseRow:
            return ChooseAccount(step.number);
        case StepKind::kClick:
            return PressEnter(kSubmitId);
        case StepKind::kTouch:
            return Press(kTouchId);
        case StepKind::kAnswerTap:
        case StepKind::kAnswerLogon:
            return Order(step);
        case StepKind::kCollect:
            return Press(kCollectId);
        case StepKind::kPass:
            return std::nullopt;  // time passes by itself; what is to come of it is expected
        case StepKind::kStartService:
            return Press(kStartServiceId);
        case StepKind::kKillService:
            return Press(kKillServiceId);
        case StepKind::kShowScreen:
            window_.World().ChooseScreen(ReadScreen(step.text));
            return Press(kShowScreenId);
        case StepKind::kPicture:
            TakePicture(step.text);
            return std::nullopt;
        default:
            return RunStep(session_, step);
    }
}

Player::Trouble Player::ChooseTile(unsigned number)
{
    const HWND list = window_.Control(kTileListId);
    if (!Usable(list) || number > SendMessageW(list, LB_GETCOUNT, 0, 0)) {
        return "there is no such tile in the list";
    }
    SetFocus(list);
    SendMessageW(list, LB_SETCURSEL, number - 1, 0);
    return PressEnter(kTileListId);
}

Player::Trouble Player::TypePin(std::string_view pin)
{
    const HWND box = window_.Control(kPinId);
    if (!Usable(box)) {
        return "there is no field for a PIN";
    }
    SendMessageW(box, EM_SETSEL, 0, -1);
    for (const char digit : pin) {
        SendMessageW(box, WM_CHAR, static_cast<WPARAM>(digit), 1);
    }
    return std::nullopt;
}

Player::Trouble Player::ChooseAccount(unsigned row)
{
    const HWND box = window_.Control(kAccountsId);
    if (!Usable(box) || row > SendMessageW(box, CB_GETCOUNT, 0, 0)) {
        return "no such account is offered";
    }
    SendMessageW(box, CB_SETCURSEL, row - 1, 0);
    SendMessageW(GetParent(box), WM_COMMAND, MAKEWPARAM(kAccountsId, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(box));
    return std::nullopt;
}

// Posted, like the keys: what a press starts may last as long as the sign-in.
Player::Trouble Player::Press(int id)
{
    const HWND button = window_.Control(id);
    if (!Usable(button)) {
        return "the button cannot be pressed";
    }
    PostMessageW(GetParent(button), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
    return std::nullopt;
}

Player::Trouble Player::PressEnter(int id)
{
    const LRESULT control = SendMessageW(GetParent(window_.Control(id)), DM_GETDEFID, 0, 0);
    if (LOWORD(control) != id || HIWORD(control) != DC_HASDEFID) {
        return "the Enter key does not do that now";
    }
    TypeKey(VK_RETURN);
    return std::nullopt;
}

void Player::TypeKey(WPARAM key)
{
    PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
}

Player::Trouble Player::Order(const Step& step)
{
    Panel& panel = window_.World();
    const bool offered = step.kind == StepKind::kAnswerTap
                             ? panel.OrderTap(ReadCode(step.text))
                             : panel.OrderLogon(static_cast<NTSTATUS>(ReadStatus(step.text)));
    return offered ? std::nullopt : Trouble("no such answer is offered");
}

void Player::TakePicture(std::string_view name)
{
    const HWND focus = GetFocus();
    HideCaret(focus);  // it blinks
    window_.RefreshNow();
    SavePng(window_.Picture().Get(), folder_ + L"\\" + ToWide(name) + L".png");
    ShowCaret(focus);
    std::printf("%.*s.png\n", static_cast<int>(name.size()), name.data());
    std::fflush(stdout);
}

}  // namespace kelvor::simulator
