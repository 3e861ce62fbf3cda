#include "preview/tile_list.h"

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "preview/drawing.h"

namespace kelvor::simulator {
namespace {

constexpr int kImageSide = 46;
constexpr int kEdge = 9;

}  // namespace

TileList::TileList(HWND parent, int id, const Fonts& fonts) : fonts_(fonts)
{
    window_ = CreateWindowExW(
        0, L"LISTBOX", L"Tiles",
        WS_CHILD | WS_VISIBLE | WS_TABSTOP | LBS_OWNERDRAWFIXED | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT,
        0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    SendMessageW(window_, LB_SETITEMHEIGHT, 0, kRowHeight);
    SetWindowSubclass(window_, &OnMessage, 0, 0);
}

void TileList::Show(std::vector<TileRow> rows)
{
    if (rows == rows_) {
        return;
    }
    const auto selectedOf = [](const std::vector<TileRow>& of) {
        const auto found = std::ranges::find(of, true, &TileRow::selected);
        return found == of.end() ? -1 : static_cast<int>(found - of.begin());
    };
    const int selected = selectedOf(rows);
    // The mark follows a selection that somebody else made.
    const int marked = selected >= 0 && selected != selectedOf(rows_) ? selected : Marked();
    if (rows.size() != rows_.size()) {
        SendMessageW(window_, LB_RESETCONTENT, 0, 0);
        for (const TileRow& row : rows) {
            const std::wstring& name = row.owner.empty() ? row.title : row.owner;
            SendMessageW(window_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name.c_str()));
        }
    }
    rows_ = std::move(rows);
    Mark(std::max(marked, 0));
    InvalidateRect(window_, nullptr, FALSE);
}

int TileList::Marked() const noexcept
{
    return static_cast<int>(SendMessageW(window_, LB_GETCURSEL, 0, 0));
}

void TileList::Mark(int row) noexcept
{
    SendMessageW(window_, LB_SETCURSEL, static_cast<WPARAM>(row), 0);
}

void TileList::Draw(const DRAWITEMSTRUCT& item) const
{
    if (item.itemID >= rows_.size()) {
        return;
    }
    const TileRow& row = rows_[item.itemID];
    const RECT& box = item.rcItem;
    const bool marked = (item.itemState & ODS_SELECTED) != 0;
    FillBox(item.hDC, box, row.selected ? kStageMarked : kStageColour);
    if (marked && GetFocus() == window_) {
        FrameBox(item.hDC, box, kFocus, 2);
    }
    if (row.image) {
        DrawRoundImage(item.hDC, row.image->Get(),
                       {box.left + kEdge, box.top + kEdge, box.left + kEdge + kImageSide,
                        box.top + kEdge + kImageSide});
    }
    RECT text = {box.left + kImageSide + 2 * kEdge + 4, box.top, box.right - kEdge, box.bottom};
    if (row.owner.empty()) {
        PutText(item.hDC, fonts_.Get(FontRole::kSmall), kStageText, row.title, text,
                DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
        return;
    }
    const int middle = (box.top + box.bottom) / 2;
    text.bottom = middle + 1;
    PutText(item.hDC, fonts_.Get(FontRole::kText), kStageText, row.owner, text,
            DT_SINGLELINE | DT_BOTTOM | DT_END_ELLIPSIS);
    text.top = middle + 1;
    text.bottom = box.bottom;
    PutText(item.hDC, fonts_.Get(FontRole::kSmall), kStageFaintText, row.title, text,
            DT_SINGLELINE | DT_TOP | DT_END_ELLIPSIS);
}

LRESULT CALLBACK TileList::OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter,
                                     UINT_PTR, DWORD_PTR)
{
    const LRESULT result = DefSubclassProc(window, message, word, parameter);
    switch (message) {
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
            InvalidateRect(window, nullptr, FALSE);
            break;
        case WM_LBUTTONUP:
            SendMessageW(GetParent(window), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window), kChosen),
                         reinterpret_cast<LPARAM>(window));
            break;
        case WM_KEYDOWN:
            if (word == VK_SPACE) {
                SendMessageW(GetParent(window), WM_COMMAND,
                             MAKEWPARAM(GetDlgCtrlID(window), kChosen),
                             reinterpret_cast<LPARAM>(window));
            }
            break;
        default:
            break;
    }
    return result;
}

}  // namespace kelvor::simulator
