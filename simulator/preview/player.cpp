#include "preview/player.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "logonui/step_runner.h"
#include "preview/controls.h"
#include "text/utf8.h"

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
            return Press(IDCANCEL);
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
            return Press(kSubmitId);
        case StepKind::kTouch:
            return Press(kTouchId);
        case StepKind::kCollect:
            return Press(kCollectId);
        case StepKind::kPass:
            return std::nullopt;  // time passes by itself; what is to come of it is expected
        case StepKind::kStartService:
            return Press(kStartServiceId);
        case StepKind::kKillService:
            return Press(kKillServiceId);
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
    SendMessageW(list, LB_SETCURSEL, number - 1, 0);
    SendMessageW(GetParent(list), WM_COMMAND, MAKEWPARAM(kTileListId, TileList::kChosen),
                 reinterpret_cast<LPARAM>(list));
    return std::nullopt;
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

// Posted: pressing the submit button may last as long as the sign-in.
Player::Trouble Player::Press(int id)
{
    const HWND button = window_.Control(id);
    if (button != nullptr && !Usable(button)) {
        return "the button cannot be pressed";
    }
    PostMessageW(GetParent(window_.Control(kTileListId)), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
    return std::nullopt;
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
