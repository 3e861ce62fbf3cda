// How the panel looks.
#include <array>
#include <iterator>

#include "preview/controls.h"
#include "preview/drawing.h"
#include "preview/panel.h"
#include "preview/panel_layout.h"
#include "preview/screen_names.h"

namespace kelvor::simulator {

RECT Panel::Line(int top, int height) const noexcept
{
    return {place_.left + panel::kEdge, place_.top + top, place_.right - panel::kEdge,
            place_.top + top + height};
}

void Panel::PaintHeading(HDC dc, int top, const wchar_t* text, const std::wstring& state) const
{
    PutText(dc, fonts_.Get(FontRole::kPanelHeading), kPanelText, text, Line(top, 20),
            DT_SINGLELINE);
    PutText(dc, fonts_.Get(FontRole::kPanel), kPanelFaintText, state, Line(top, 20),
            DT_SINGLELINE | DT_RIGHT);
}

void Panel::Paint(HDC dc) const
{
    FillBox(dc, place_, kPanelColour);
    FillBox(dc, {place_.left, place_.top, place_.left + 1, place_.bottom}, kPanelEdge);
    PutText(dc, fonts_.Get(FontRole::kTitle), kPanelText, L"Hands and world", Line(12, 28),
            DT_SINGLELINE);
    const HFONT font = fonts_.Get(FontRole::kPanel);
    PutText(dc, font, kPanelFaintText, L"What stands here is no part of the sign-in screen.",
            Line(38, 20), DT_SINGLELINE);
    PaintHeading(dc, panel::kSituationTop, L"Situation", L"");
    PutText(dc, font, kPanelText, situations_[current_].sentence,
            Line(panel::kSentenceTop, panel::kScreenTop - panel::kSentenceTop), DT_WORDBREAK);
    PaintHeading(dc, panel::kScreenTop, L"Screen", L"");
    PaintHeading(dc, panel::kKeyTop, L"Security key", KeyText());
    PaintHeading(dc, panel::kTapAnswerTop, L"The key answers the next tap", L"");
    PaintHeading(dc, panel::kServiceTop, L"Card service", serviceRuns_ ? L"runs" : L"does not run");
    PaintHeading(dc, panel::kLogonAnswerTop, L"LSA answers the next logon", L"");
    PaintHeading(dc, panel::kHintTop, L"What to do here", L"");
    const int hintTop = panel::kHintTop + panel::kHeadingHeight;
    PutText(dc, font, kPanelText, world_.hint.View(),
            Line(hintTop, panel::kEventsTop - hintTop - 4), DT_WORDBREAK | DT_END_ELLIPSIS);
    PaintHeading(dc, panel::kEventsTop, L"What happened", L"");
    RECT frame = {};
    GetWindowRect(events_.Window(), &frame);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&frame), 2);
    InflateRect(&frame, 1, 1);
    FrameBox(dc, frame, kPanelEdge, 1);
}

bool Panel::OnMeasureItem(MEASUREITEMSTRUCT& item) const
{
    if (item.CtlID != kEventsId) {
        return false;
    }
    events_.Measure(item);
    return true;
}

bool Panel::OnDrawItem(const DRAWITEMSTRUCT& item) const
{
    switch (item.CtlID) {
        case kEventsId:
            events_.Draw(item);
            break;
        case kTapAnswerId:
            tapAnswer_.Draw(item);
            break;
        case kLogonAnswerId:
            logonAnswer_.Draw(item);
            break;
        case kSituationId:
            DrawPanelRow(item, fonts_,
                         item.itemID < situations_.size() ? situations_[item.itemID].name : L"");
            break;
        case kScreenId:
            DrawPanelRow(
                item, fonts_,
                item.itemID < std::size(kScreenNames) ? kScreenNames[item.itemID].text : L"");
            break;
        default:
            DrawButton(item);
            break;
    }
    return true;
}

void Panel::DrawButton(const DRAWITEMSTRUCT& item) const
{
    const bool pressed = (item.itemState & ODS_SELECTED) != 0;
    const bool disabled = (item.itemState & ODS_DISABLED) != 0;
    const bool focus = (item.itemState & ODS_FOCUS) != 0;
    COLORREF ground = pressed ? kPanelEdge : kPanelButton;
    if (disabled) {
        ground = kPanelColour;
    } else if (item.CtlID == kTouchId) {
        ground = kBlink;
    }
    FillBox(item.hDC, item.rcItem, ground);
    std::array<wchar_t, 40> text = {};
    GetWindowTextW(item.hwndItem, text.data(), static_cast<int>(text.size()));
    PutText(item.hDC, fonts_.Get(FontRole::kPanel), disabled ? kPanelDisabledText : kPanelText,
            text.data(), item.rcItem, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    FrameBox(item.hDC, item.rcItem, focus ? kPanelFocus : kPanelEdge, focus ? 2 : 1);
}

}  // namespace kelvor::simulator
