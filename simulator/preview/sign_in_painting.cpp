// How the sign-in screen looks.
#include <algorithm>

#include "preview/controls.h"
#include "preview/drawing.h"
#include "preview/sign_in_area.h"

namespace kelvor::simulator {
namespace {

constexpr RECT kPcPlace = {28, 20, 420, 48};
constexpr RECT kScreenPlace = {28, 46, 420, 70};
constexpr int kSignedInSign = 56;

}  // namespace

void SignInArea::Paint(HDC dc) const
{
    FillBox(dc, {0, 0, size_.cx, size_.cy}, kStageColour);
    PaintHeading(dc);
    if (!shown_.hasTile) {
        PaintMiddle(dc);
        return;
    }
    for (const Piece& piece : pieces_) {
        PaintPiece(dc, piece);
    }
}

void SignInArea::PaintHeading(HDC dc) const
{
    PutText(dc, fonts_.Get(FontRole::kTitle), kStageText, pc_, kPcPlace,
            DT_SINGLELINE | DT_END_ELLIPSIS);
    PutText(dc, fonts_.Get(FontRole::kSmall), kStageFaintText, screen_, kScreenPlace,
            DT_SINGLELINE | DT_END_ELLIPSIS);
}

void SignInArea::PaintPiece(HDC dc, const Piece& piece) const
{
    const TileField& field = shown_.tile.fields[piece.field];
    switch (piece.kind) {
        case PieceKind::kImage:
            DrawRoundImage(dc, field.image->Get(), piece.place);
            break;
        case PieceKind::kOwner:
            PutText(dc, fonts_.Get(FontRole::kName), kStageText, shown_.owner, piece.place,
                    DT_CENTER | DT_WORDBREAK);
            break;
        case PieceKind::kLargeText: {
            const bool below = !shown_.owner.empty();
            PutText(dc, fonts_.Get(below ? FontRole::kTitle : FontRole::kName),
                    below ? kStageFaintText : kStageText, field.text, piece.place,
                    DT_CENTER | DT_WORDBREAK);
            break;
        }
        case PieceKind::kSmallText: {
            const bool besideSign = field.label == kStatusLabel && shown_.tile.icon != CPSI_NONE;
            PutText(dc, fonts_.Get(FontRole::kText), kStageText, field.text, piece.place,
                    (besideSign ? DT_LEFT : DT_CENTER) | DT_WORDBREAK);
            break;
        }
        case PieceKind::kStatusSign:
            DrawStatusSign(dc, piece.place, shown_.tile.icon);
            break;
        case PieceKind::kInput: {
            const HWND input = field.type == CPFT_COMBOBOX ? accounts_ : pin_.Window();
            const COLORREF ground =
                IsWindowEnabled(input) ? kBoxColour : GetSysColor(COLOR_BTNFACE);
            FillBox(dc, piece.place, ground);
            FrameBox(dc, piece.place, GetFocus() == input ? kFocus : ground, 2);
            break;
        }
        case PieceKind::kButton:
            break;  // draws itself
    }
}

// Without a tile there is a word in the middle; after the sign-in the end of it.
void SignInArea::PaintMiddle(HDC dc) const
{
    const int middle = size_.cy / 2;
    if (!shown_.signedIn) {
        PutText(dc, fonts_.Get(FontRole::kTitle), kStageFaintText, notice_,
                {0, middle - 40, size_.cx, middle}, DT_CENTER | DT_SINGLELINE);
        return;
    }
    const int left = (size_.cx - kSignedInSign) / 2;
    DrawStatusSign(dc, {left, middle - 140, left + kSignedInSign, middle - 140 + kSignedInSign},
                   CPSI_SUCCESS);
    PutText(dc, fonts_.Get(FontRole::kName), kStageText, L"Logon accepted",
            {0, middle - 70, size_.cx, middle - 30}, DT_CENTER | DT_SINGLELINE);
    PutText(dc, fonts_.Get(FontRole::kText), kStageFaintText,
            L"LSA has accepted the credential: here Windows would show the desktop.",
            {0, middle - 20, size_.cx, middle + 10}, DT_CENTER | DT_SINGLELINE);
}

void SignInArea::DrawAccount(const DRAWITEMSTRUCT& item) const
{
    const bool marked =
        (item.itemState & ODS_SELECTED) != 0 && (item.itemState & ODS_COMBOBOXEDIT) == 0;
    FillBox(item.hDC, item.rcItem, marked ? kStageButton : kBoxColour);
    if (item.itemID >= SendMessageW(item.hwndItem, CB_GETCOUNT, 0, 0)) {
        return;
    }
    const auto length = SendMessageW(item.hwndItem, CB_GETLBTEXTLEN, item.itemID, 0);
    std::wstring text(static_cast<std::size_t>(std::max<LRESULT>(length, 0)), L'\0');
    SendMessageW(item.hwndItem, CB_GETLBTEXT, item.itemID, reinterpret_cast<LPARAM>(text.data()));
    RECT place = item.rcItem;
    place.left += 8;
    PutText(item.hDC, fonts_.Get(FontRole::kText), marked ? kStageText : kBoxText, text, place,
            DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
}

void SignInArea::DrawButton(const DRAWITEMSTRUCT& item) const
{
    const bool pressed = (item.itemState & ODS_SELECTED) != 0;
    const bool disabled = (item.itemState & ODS_DISABLED) != 0;
    FillBox(item.hDC, item.rcItem, pressed ? kStageMarked : kStageButton);
    const COLORREF colour = disabled ? kStageFaintText : kStageText;
    if (item.CtlID == kSubmitId) {
        DrawArrow(item.hDC, item.rcItem, colour);
    } else {
        PutText(item.hDC, fonts_.Get(FontRole::kText), colour, L"Begin again", item.rcItem,
                DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    }
    if ((item.itemState & ODS_FOCUS) != 0) {
        FrameBox(item.hDC, item.rcItem, kFocus, 2);
    }
}

}  // namespace kelvor::simulator
