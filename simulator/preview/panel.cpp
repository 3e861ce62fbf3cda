#include "preview/panel.h"

#include <algorithm>

#include "preview/controls.h"
#include "preview/panel_layout.h"
#include "preview/screen_names.h"

namespace kelvor::simulator {
namespace {

constexpr int kButtonHeight = 28;
constexpr int kBetween = 8;
constexpr int kSideButton = 104;  // beside a combo box
constexpr int kDroppedHeight = 360;

struct ButtonRow {
    int id;
    const wchar_t* text;
};
constexpr ButtonRow kButtons[] = {
    {kRestartId, L"Begin"},          {kShowScreenId, L"Show"},    {kPlugInId, L"Plug in"},
    {kLayOnReaderId, L"Lay on NFC"}, {kTakeAwayId, L"Take away"}, {kTouchId, L"Touch the key"},
    {kStartServiceId, L"Start"},     {kKillServiceId, L"Kill"},   {kCollectId, L"Collect"},
};

// What the transcript has of a tap that is about to come, and of LSA's answer.
constexpr std::string_view kTapComes = "service  is asked: provchallenge";
constexpr std::string_view kLogonOver = "LSA      LOGON ";

void MoveTo(HWND control, int left, int top, int width, int height)
{
    SetWindowPos(control, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

Panel::Panel(HWND window, const Fonts& fonts, const std::vector<Situation>& situations,
             std::size_t current)
    : window_(window),
      fonts_(fonts),
      situations_(situations),
      current_(current),
      situation_(CreatePanelBox(window, kSituationId, L"Situation")),
      screen_(CreatePanelBox(window, kScreenId, L"Screen")),
      tapAnswer_(window, kTapAnswerId, fonts, TapAnswers()),
      logonAnswer_(window, kLogonAnswerId, fonts, LogonAnswers()),
      events_(window, kEventsId, fonts)
{
    for (const Situation& each : situations_) {
        SendMessageW(situation_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(each.name.c_str()));
    }
    SendMessageW(situation_, CB_SETCURSEL, current_, 0);
    for (const ScreenName& each : kScreenNames) {
        SendMessageW(screen_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(each.text));
    }
    for (const ButtonRow& row : kButtons) {
        const DWORD disabled = row.id == kRestartId ? 0 : WS_DISABLED;
        buttons_.push_back(
            {row.id,
             CreateWindowExW(0, L"BUTTON", row.text,
                             WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW | disabled, 0, 0, 0,
                             0, window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(row.id)),
                             nullptr, nullptr)});
    }
}

void Panel::SetWorld(PanelWorld world)
{
    world_ = std::move(world);
    ChooseScreen(world_.screen);
}

void Panel::AddEvent(std::string_view event)
{
    events_.Add(event);
    // An order holds for once.
    if (event.substr(0, kTapComes.size()) == kTapComes) {
        tapAnswer_.Reset();
    } else if (event.substr(0, kLogonOver.size()) == kLogonOver) {
        logonAnswer_.Reset();
    }
}

void Panel::Resize(const RECT& place)
{
    place_ = place;
    const int left = place.left + panel::kEdge;
    const int width = kWidth - 2 * panel::kEdge;
    const int besideButton = width - kSideButton - kBetween;
    const auto below = [&](int top) { return place.top + top + panel::kHeadingHeight; };
    MoveTo(situation_, left, below(panel::kSituationTop), besideButton, kDroppedHeight);
    MoveTo(Find(kRestartId), left + width - kSideButton, below(panel::kSituationTop), kSideButton,
           kButtonHeight);
    MoveTo(screen_, left, below(panel::kScreenTop), besideButton, kDroppedHeight);
    MoveTo(Find(kShowScreenId), left + width - kSideButton, below(panel::kScreenTop), kSideButton,
           kButtonHeight);
    PlaceRow(below(panel::kKeyTop), {kPlugInId, kLayOnReaderId, kTakeAwayId});
    PlaceRow(below(panel::kKeyTop) + kButtonHeight + kBetween, {kTouchId});
    MoveTo(tapAnswer_.Window(), left, below(panel::kTapAnswerTop), width, kDroppedHeight);
    PlaceRow(below(panel::kServiceTop), {kStartServiceId, kKillServiceId});
    MoveTo(logonAnswer_.Window(), left, below(panel::kLogonAnswerTop), width, kDroppedHeight);
    MoveTo(Find(kCollectId), left + width - kSideButton, place.top + panel::kLogonAnswerTop - 4,
           kSideButton, panel::kHeadingHeight);
    const int eventsTop = below(panel::kEventsTop);
    MoveTo(events_.Window(), left, eventsTop, width,
           std::max<int>(place.bottom - panel::kEdge - eventsTop, 0));
}

void Panel::PlaceRow(int top, const std::vector<int>& ids)
{
    const int count = static_cast<int>(ids.size());
    const int width = (kWidth - 2 * panel::kEdge - (count - 1) * kBetween) / count;
    int left = place_.left + panel::kEdge;
    for (const int id : ids) {
        MoveTo(Find(id), left, top, width, kButtonHeight);
        left += width + kBetween;
    }
}

HWND Panel::Find(int id) const noexcept
{
    return std::ranges::find(buttons_, id, &Button::id)->window;
}

void Panel::Enable(int id, bool enabled)
{
    const HWND button = Find(id);
    if ((IsWindowEnabled(button) != FALSE) != enabled) {
        EnableWindow(button, enabled);
        InvalidateRect(button, nullptr, FALSE);
    }
}

void Panel::Refresh()
{
    if (session_ == nullptr) {
        return;
    }
    const bool runs = session_->ServiceRuns();
    const bool blinks = session_->KeyBlinks();
    const bool over = session_->SignedIn();
    Enable(kShowScreenId, !over && !screenHeld_);
    Enable(kPlugInId, !over && world_.key != Presence::kUsb);
    Enable(kLayOnReaderId, !over && world_.key != Presence::kNfc);
    Enable(kTakeAwayId, !over && world_.key != Presence::kNone);
    Enable(kTouchId, !over && blinks);
    Enable(kStartServiceId, !over && !runs);
    Enable(kKillServiceId, !over && runs);
    Enable(kCollectId, !over && !world_.collectsAtOnce);
    if (runs != serviceRuns_ || blinks != blinks_) {
        serviceRuns_ = runs;
        blinks_ = blinks;
        InvalidateRect(window_, &place_, FALSE);
    }
}

bool Panel::OnCommand(WORD id, WORD code)
{
    switch (id) {
        case kSituationId:
            // The arrows look around in the closed box: Enter, or the button beside it, begins.
            if (code == CBN_SELENDOK && SendMessageW(situation_, CB_GETDROPPEDSTATE, 0, 0) != 0) {
                BeginChosen();
            }
            return true;
        case kScreenId:
            if (code == CBN_SELENDOK && SendMessageW(screen_, CB_GETDROPPEDSTATE, 0, 0) != 0) {
                ShowChosenScreen();
            }
            return true;
        case kTapAnswerId:
        case kLogonAnswerId:
            if (code == CBN_SELCHANGE || code == CBN_SELENDOK) {
                GiveOrders();
            }
            return true;
        case kEventsId:
            return true;
        default:
            break;
    }
    if (std::ranges::find(buttons_, static_cast<int>(id), &Button::id) == buttons_.end()) {
        return false;
    }
    if (code == BN_CLICKED && IsWindowEnabled(Find(id))) {
        Do(id);
        Refresh();
        InvalidateRect(window_, &place_, FALSE);
    }
    return true;
}

void Panel::BeginChosen()
{
    const LRESULT row = SendMessageW(situation_, CB_GETCURSEL, 0, 0);
    next_ = row >= 0 ? static_cast<std::size_t>(row) : current_;
}

void Panel::HoldScreen(bool held)
{
    screenHeld_ = held;
    Refresh();
}

void Panel::ChooseScreen(Screen screen)
{
    const auto* const name = std::ranges::find(kScreenNames, screen, &ScreenName::screen);
    SendMessageW(screen_, CB_SETCURSEL, static_cast<WPARAM>(name - kScreenNames), 0);
}

void Panel::ShowChosenScreen()
{
    const LRESULT row = SendMessageW(screen_, CB_GETCURSEL, 0, 0);
    if (row >= 0 && IsWindowEnabled(Find(kShowScreenId))) {
        session_->ShowScreen(kScreenNames[row].screen);
    }
}

bool Panel::OrderTap(int code)
{
    const bool offered = tapAnswer_.Choose(code);
    GiveOrders();
    return offered;
}

bool Panel::OrderLogon(NTSTATUS status)
{
    const bool offered = logonAnswer_.Choose(status);
    GiveOrders();
    return offered;
}

void Panel::GiveOrders()
{
    if (session_ != nullptr) {
        session_->AnswerNextTap(static_cast<int>(tapAnswer_.Chosen().value_or(0)));
        session_->AnswerNextLogon(logonAnswer_.Chosen());
    }
}

void Panel::Do(int id)
{
    switch (id) {
        case kRestartId:
            BeginChosen();
            break;
        case kShowScreenId:
            ShowChosenScreen();
            break;
        case kPlugInId:
            session_->InsertKey(false);
            world_.key = Presence::kUsb;
            break;
        case kLayOnReaderId:
            session_->InsertKey(true);
            world_.key = Presence::kNfc;
            break;
        case kTakeAwayId:
            session_->RemoveKey();
            world_.key = Presence::kNone;
            break;
        case kTouchId:
            session_->Touch();
            break;
        case kStartServiceId:
            session_->StartService();
            break;
        case kKillServiceId:
            session_->KillService();
            break;
        case kCollectId:
            session_->Collect();
            break;
        default:
            break;
    }
}

std::wstring Panel::KeyText() const
{
    if (blinks_) {
        return L"it blinks: touch it";
    }
    switch (world_.key) {
        case Presence::kUsb:
            return L"plugged in";
        case Presence::kNfc:
            return L"on the NFC reader";
        case Presence::kNone:
            break;
    }
    return L"not there";
}

}  // namespace kelvor::simulator
