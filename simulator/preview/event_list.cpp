#include "preview/event_list.h"

#include <string>

#include "preview/drawing.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr int kIndent = 4;
constexpr LRESULT kMostEvents = 500;
// Each letter of it is an event, and its dots stand in the field itself.
constexpr std::string_view kTyping = "user     types the PIN";

}  // namespace

EventList::EventList(HWND parent, int id, const Fonts& fonts) : fonts_(fonts)
{
    window_ = CreateWindowExW(
        0, L"LISTBOX", L"What happened",
        WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | LBS_OWNERDRAWVARIABLE |
            LBS_DISABLENOSCROLL | LBS_HASSTRINGS | LBS_NOINTEGRALHEIGHT,
        0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
}

void EventList::Add(std::string_view event)
{
    if (event.substr(0, kTyping.size()) == kTyping) {
        return;
    }
    const std::wstring text = ToWide(event);
    if (SendMessageW(window_, LB_GETCOUNT, 0, 0) >= kMostEvents) {
        SendMessageW(window_, LB_DELETESTRING, 0, 0);
    }
    const LRESULT at =
        SendMessageW(window_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    SendMessageW(window_, LB_SETTOPINDEX, static_cast<WPARAM>(at), 0);
}

void EventList::Measure(MEASUREITEMSTRUCT& item) const
{
    item.itemHeight = static_cast<UINT>(
        MeasureText(fonts_.Get(FontRole::kPanel), TextOf(item.itemID), TextWidth()).cy + 2);
}

void EventList::Draw(const DRAWITEMSTRUCT& item) const
{
    FillBox(item.hDC, item.rcItem, kBoxColour);
    if (item.itemID == static_cast<UINT>(-1)) {
        return;
    }
    RECT place = item.rcItem;
    place.left += kIndent;
    place.right = place.left + TextWidth();
    PutText(item.hDC, fonts_.Get(FontRole::kPanel), kBoxText, TextOf(item.itemID), place,
            DT_WORDBREAK);
    if ((item.itemState & ODS_FOCUS) != 0) {
        FrameBox(item.hDC, item.rcItem, kPanelFocus, 1);
    }
}

// Who and what with one blank between them: the columns of the transcript want a fixed pitch.
std::wstring EventList::TextOf(UINT item) const
{
    const LRESULT length = SendMessageW(window_, LB_GETTEXTLEN, item, 0);
    if (length == LB_ERR) {
        return {};
    }
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    SendMessageW(window_, LB_GETTEXT, item, reinterpret_cast<LPARAM>(text.data()));
    const std::size_t gap = text.find(L' ');
    if (gap != std::wstring::npos) {
        text.replace(gap, text.find_first_not_of(L' ', gap) - gap, L": ");
    }
    return text;
}

int EventList::TextWidth() const noexcept
{
    RECT inside = {};
    GetClientRect(window_, &inside);
    return inside.right - 2 * kIndent;
}

}  // namespace kelvor::simulator
