#include "preview/panel.h"

#include <algorithm>
#include <array>

#include "preview/controls.h"
#include "preview/drawing.h"

namespace kelvor::simulator {
namespace {

constexpr int kEdge = 16;
constexpr int kButtonHeight = 28;
constexpr int kBetween = 8;
// Tops of the sections, from the panel's own.
constexpr int kSituationTop = 62;
constexpr int kKeyTop = 176;
constexpr int kServiceTop = 282;
constexpr int kHintsTop = 352;
constexpr int kHintsHeight = 216;
constexpr int kEventsTop = kHintsTop + kHintsHeight + 12;
constexpr int kHeadingHeight = 22;
constexpr int kSituationItem = 20;

struct ButtonRow {
    int id;
    const wchar_t* text;
};
constexpr ButtonRow kButtons[] = {
    {kRestartId, L"Begin again"}, {kPlugInId, L"Plug in"},      {kLayOnReaderId, L"Lay on NFC"},
    {kTakeAwayId, L"Take away"},  {kTouchId, L"Touch the key"}, {kStartServiceId, L"Start"},
    {kKillServiceId, L"Kill"},
};

HMENU MenuOf(int id)
{
    return reinterpret_cast<HMENU>(static_cast<INT_PTR>(id));
}

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
      situation_(CreateWindowExW(0, L"COMBOBOX", L"Situation",
                                 WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL |
                                     CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED | CBS_HASSTRINGS,
                                 0, 0, 0, 0, window, MenuOf(kSituationId), nullptr, nullptr)),
      events_(window, kEventsId, fonts)
{
    for (const Situation& each : situations_) {
        SendMessageW(situation_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(each.name.c_str()));
    }
    SendMessageW(situation_, CB_SETCURSEL, current_, 0);
    SendMessageW(situation_, CB_SETITEMHEIGHT, static_cast<WPARAM>(-1), kSituationItem);
    SendMessageW(situation_, CB_SETITEMHEIGHT, 0, kSituationItem);
    for (const ButtonRow& row : kButtons) {
        const bool always = row.id == kRestartId;
        buttons_.push_back(
            {row.id, CreateWindowExW(0, L"BUTTON", row.text,
                                     WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW |
                                         (always ? 0U : static_cast<DWORD>(WS_DISABLED)),
                                     0, 0, 0, 0, window, MenuOf(row.id), nullptr, nullptr)});
    }
    // Tab goes through the panel from top to bottom.
    SetWindowPos(events_.Window(), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

void Panel::Attach(Session& session, Presence keyAtStart)
{
    session_ = &session;
    key_ = keyAtStart;
}

void Panel::Resize(const RECT& place)
{
    place_ = place;
    const int left = place.left + kEdge;
    const int width = kWidth - 2 * kEdge;
    const int again = 104;
    MoveTo(situation_, left, place.top + kSituationTop + kHeadingHeight, width - again - kBetween,
           12 * kSituationItem);
    MoveTo(Find(kRestartId), left + width - again, place.top + kSituationTop + kHeadingHeight,
           again, kButtonHeight);
    PlaceRow(kKeyTop + kHeadingHeight, {kPlugInId, kLayOnReaderId, kTakeAwayId});
    PlaceRow(kKeyTop + kHeadingHeight + kButtonHeight + kBetween, {kTouchId});
    PlaceRow(kServiceTop + kHeadingHeight, {kStartServiceId, kKillServiceId});
    const int eventsTop = place.top + kEventsTop + kHeadingHeight;
    MoveTo(events_.Window(), left, eventsTop, width,
           std::max<int>(place.bottom - kEdge - eventsTop, 0));
}

void Panel::PlaceRow(int top, const std::vector<int>& ids)
{
    const int count = static_cast<int>(ids.size());
    const int width = (kWidth - 2 * kEdge - (count - 1) * kBetween) / count;
    int left = place_.left + kEdge;
    for (const int id : ids) {
        MoveTo(Find(id), left, place_.top + top, width, kButtonHeight);
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
    Enable(kPlugInId, !over && key_ != Presence::kUsb);
    Enable(kLayOnReaderId, !over && key_ != Presence::kNfc);
    Enable(kTakeAwayId, !over && key_ != Presence::kNone);
    Enable(kTouchId, !over && blinks);
    Enable(kStartServiceId, !over && !runs);
    Enable(kKillServiceId, !over && runs);
    if (runs != serviceRuns_ || blinks != blinks_) {
        serviceRuns_ = runs;
        blinks_ = blinks;
        InvalidateRect(window_, &place_, FALSE);
        InvalidateRect(Find(kTouchId), nullptr, FALSE);
    }
}

bool Panel::OnCommand(WORD id, WORD code)
{
    if (id == kSituationId) {
        const LRESULT chosen = SendMessageW(situation_, CB_GETCURSEL, 0, 0);
        // While the list is open the arrows only look around in it.
        const bool open = SendMessageW(situation_, CB_GETDROPPEDSTATE, 0, 0) != 0;
        if (code == CBN_SELENDOK || (code == CBN_SELCHANGE && !open)) {
            const auto index = static_cast<std::size_t>(chosen);
            if (chosen >= 0 && index != current_) {
                next_ = index;
            }
        }
        return true;
    }
    if (std::ranges::find(buttons_, static_cast<int>(id), &Button::id) == buttons_.end()) {
        return id == kEventsId;
    }
    if (code == BN_CLICKED) {
        Do(id);
        Refresh();
        InvalidateRect(window_, &place_, FALSE);
    }
    return true;
}

void Panel::Do(int id)
{
    if (id == kRestartId) {
        BeginAgain();
        return;
    }
    if (session_ == nullptr || !IsWindowEnabled(Find(id))) {
        return;
    }
    switch (id) {
        case kPlugInId:
            session_->InsertKey(false);
            key_ = Presence::kUsb;
            break;
        case kLayOnReaderId:
            session_->InsertKey(true);
            key_ = Presence::kNfc;
            break;
        case kTakeAwayId:
            session_->RemoveKey();
            key_ = Presence::kNone;
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
        default:
            break;
    }
}

std::wstring Panel::KeyText() const
{
    if (blinks_) {
        return L"it blinks: touch it";
    }
    switch (key_) {
        case Presence::kUsb:
            return L"plugged in";
        case Presence::kNfc:
            return L"on the NFC reader";
        case Presence::kNone:
            break;
    }
    return L"not there";
}

bool Panel::OnMeasureItem(MEASUREITEMSTRUCT& item) const
{
    if (item.CtlID != kEventsId) {
        return false;
    }
    events_.Measure(item);
    return true;
}

void Panel::Paint(HDC dc) const
{
    const auto line = [&](int top, int height) {
        return RECT{place_.left + kEdge, place_.top + top, place_.right - kEdge,
                    place_.top + top + height};
    };
    const auto heading = [&](int top, const std::wstring& text, const std::wstring& state) {
        PutText(dc, fonts_.Get(FontRole::kPanelHeading), kPanelText, text, line(top, 20),
                DT_SINGLELINE);
        PutText(dc, fonts_.Get(FontRole::kPanel), kPanelFaintText, state, line(top, 20),
                DT_SINGLELINE | DT_RIGHT);
    };
    FillBox(dc, place_, kPanelColour);
    FillBox(dc, {place_.left, place_.top, place_.left + 1, place_.bottom}, kPanelEdge);
    PutText(dc, fonts_.Get(FontRole::kTitle), kPanelText, L"Hands and world", line(12, 28),
            DT_SINGLELINE);
    PutText(dc, fonts_.Get(FontRole::kPanel), kPanelFaintText,
            L"What stands here is no part of the sign-in screen.", line(38, 20), DT_SINGLELINE);
    heading(kSituationTop, L"Situation", L"");
    PutText(dc, fonts_.Get(FontRole::kPanel), kPanelText, situations_[current_].sentence,
            line(kSituationTop + kHeadingHeight + 34, 56), DT_WORDBREAK | DT_END_ELLIPSIS);
    heading(kKeyTop, L"Security key", KeyText());
    heading(kServiceTop, L"Card service", serviceRuns_ ? L"runs" : L"does not run");
    heading(kHintsTop, L"What to do here", L"");
    heading(kEventsTop, L"What happened", L"");
    int top = kHintsTop + kHeadingHeight;
    for (const Secret<wchar_t>& hint : hints_) {
        if (top + 17 > kHintsTop + kHintsHeight) {
            break;
        }
        const bool expects = hint.View().substr(0, 6) == L"expect";
        PutText(dc, fonts_.Get(FontRole::kPanel), expects ? kPanelFaintText : kPanelText,
                hint.View(), line(top, 17), DT_SINGLELINE | DT_END_ELLIPSIS);
        top += 17;
    }
    RECT frame = {};
    GetWindowRect(events_.Window(), &frame);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&frame), 2);
    InflateRect(&frame, 1, 1);
    FrameBox(dc, frame, kPanelEdge, 1);
}

bool Panel::OnDrawItem(const DRAWITEMSTRUCT& item) const
{
    if (item.CtlID == kEventsId) {
        events_.Draw(item);
        return true;
    }
    if (item.CtlID == kSituationId) {
        DrawSituation(item);
        return true;
    }
    DrawButton(item);
    return true;
}

void Panel::DrawSituation(const DRAWITEMSTRUCT& item) const
{
    const bool marked = (item.itemState & ODS_SELECTED) != 0;
    FillBox(item.hDC, item.rcItem, marked ? kPanelFocus : kBoxColour);
    if (item.itemID >= situations_.size()) {
        return;
    }
    RECT place = item.rcItem;
    place.left += 4;
    PutText(item.hDC, fonts_.Get(FontRole::kPanel), marked ? kBoxColour : kBoxText,
            situations_[item.itemID].name, place, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
}

void Panel::DrawButton(const DRAWITEMSTRUCT& item) const
{
    const bool pressed = (item.itemState & ODS_SELECTED) != 0;
    const bool disabled = (item.itemState & ODS_DISABLED) != 0;
    const bool calls = item.CtlID == kTouchId && !disabled;
    FillBox(item.hDC, item.rcItem,
            calls      ? kBlink
            : disabled ? kPanelColour
            : pressed  ? kPanelEdge
                       : kPanelButton);
    std::array<wchar_t, 40> text = {};
    GetWindowTextW(item.hwndItem, text.data(), static_cast<int>(text.size()));
    PutText(item.hDC, fonts_.Get(FontRole::kPanel), disabled ? kPanelDisabledText : kPanelText,
            text.data(), item.rcItem, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    const bool focus = (item.itemState & ODS_FOCUS) != 0;
    FrameBox(item.hDC, item.rcItem, focus ? kPanelFocus : kPanelEdge, focus ? 2 : 1);
}

}  // namespace kelvor::simulator
