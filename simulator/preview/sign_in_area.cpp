#include "preview/sign_in_area.h"

#include <algorithm>
#include <array>
#include <utility>

#include "preview/controls.h"
#include "preview/drawing.h"
#include "preview/screen_names.h"

namespace kelvor::simulator {
namespace {

constexpr int kListWidth = 372;
constexpr int kListEdge = 28;
constexpr int kTextInset = 11;  // from a box's edge to the text in it
constexpr int kFrame = 2;       // of a box
constexpr int kAccountHeight = 28;
constexpr SIZE kAgainSize = {220, 40};

HWND CreateButton(HWND parent, int id, const wchar_t* text)
{
    return CreateWindowExW(0, L"BUTTON", text, WS_CHILD | WS_TABSTOP | BS_OWNERDRAW | BS_NOTIFY, 0,
                           0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                           nullptr, nullptr);
}

HWND CreateAccounts(HWND parent, HFONT font)
{
    const HWND box = CreateWindowExW(
        0, L"COMBOBOX", L"",
        WS_CHILD | WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED | CBS_HASSTRINGS,
        0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kAccountsId)), nullptr,
        nullptr);
    SendMessageW(box, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return box;
}

void Place(HWND control, const RECT& place)
{
    SetWindowPos(control, nullptr, place.left, place.top, place.right - place.left,
                 place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void Hide(HWND control)
{
    ShowWindow(control, SW_HIDE);
}

}  // namespace

SignInArea::SignInArea(HWND window, const Fonts& fonts)
    : window_(window), fonts_(fonts), list_(window, kTileListId, fonts)
{
    pin_.Create(window, kPinId, fonts.Get(FontRole::kText));
    accounts_ = CreateAccounts(window, fonts.Get(FontRole::kText));
    submit_ = CreateButton(window, kSubmitId, L"");
    again_ = CreateButton(window, kBeginAgainId, L"Begin again");
}

void SignInArea::SetPlace(const std::wstring& pc, const std::wstring& screen)
{
    pc_ = pc;
    screen_ = screen;
}

void SignInArea::Resize(SIZE size)
{
    size_ = size;
    shown_ = {};  // everything has a new place
    Refresh();
}

void SignInArea::Refresh()
{
    if (session_ == nullptr || size_.cx == 0) {
        return;
    }
    refreshing_ = true;
    ShowTiles();
    ShowTile();
    refreshing_ = false;
}

void SignInArea::ShowTiles()
{
    const ProviderHost& screen = session_->Host();
    std::vector<TileRow> rows;
    for (std::size_t index = 0; index < screen.TileCount(); ++index) {
        const Tile tile = screen.TileAt(index);
        TileRow row;
        row.owner = session_->OwnerOf(index);
        row.selected = screen.HasSelection() && screen.Selected() == index;
        for (const TileField& field : tile.fields) {
            if (field.type == CPFT_LARGE_TEXT && field.Shown(false) && row.title.empty()) {
                row.title = field.text;
            } else if (field.type == CPFT_TILE_IMAGE && field.Shown(false)) {
                row.image = field.image;
            }
        }
        rows.push_back(std::move(row));
    }
    const int height = static_cast<int>(rows.size()) * TileList::kRowHeight;
    const int top = std::max<int>(size_.cy / 2, size_.cy - kListEdge - height);
    Place(list_.Window(),
          {kListEdge, top, kListEdge + kListWidth, std::min<int>(top + height, size_.cy)});
    list_.Show(std::move(rows));
}

void SignInArea::ShowTile()
{
    const ProviderHost& screen = session_->Host();
    Shown now;
    now.signedIn = session_->SignedIn();
    now.screen = TextOf(session_->ShownScreen());
    now.notice = screen.TileCount() != 0 ? L"Choose a tile." : L"The provider has no tiles here.";
    now.hasTile = screen.HasSelection() && !now.signedIn;
    if (now.hasTile) {
        now.tile = screen.TileAt(screen.Selected());
        now.owner = session_->OwnerOf(screen.Selected());
    }
    if (now.tile == shown_.tile && now.owner == shown_.owner && now.hasTile == shown_.hasTile &&
        now.signedIn == shown_.signedIn && now.screen == shown_.screen &&
        now.notice == shown_.notice) {
        return;
    }
    screen_ = now.screen;
    notice_ = now.notice;
    shown_ = std::move(now);
    pieces_ = LayOut(shown_.tile, shown_.owner, static_cast<int>(size_.cx),
                     [this](FontRole role, std::wstring_view text, int width) {
                         return MeasureText(fonts_.Get(role), text, width);
                     });
    ShowInputs();
    const RECT whole = {0, 0, size_.cx, size_.cy};
    InvalidateRect(window_, &whole, FALSE);
}

void SignInArea::ShowInputs()
{
    const bool hadPin = IsWindowVisible(pin_.Window());
    const bool hadAccounts = IsWindowVisible(accounts_);
    ShowPin(Find(PieceKind::kInput, CPFT_PASSWORD_TEXT));
    ShowAccounts(Find(PieceKind::kInput, CPFT_COMBOBOX));
    ShowButton(submit_, Find(PieceKind::kButton, CPFT_SUBMIT_BUTTON));
    if (shown_.signedIn) {
        const int left = (size_.cx - kAgainSize.cx) / 2;
        const int top = size_.cy / 2 + 40;
        Place(again_, {left, top, left + kAgainSize.cx, top + kAgainSize.cy});
    }
    ShowWindow(again_, shown_.signedIn ? SW_SHOWNA : SW_HIDE);
    EnableWindow(list_.Window(), !shown_.signedIn);
    MoveFocus((!hadPin && IsWindowVisible(pin_.Window())) ||
              (!hadAccounts && IsWindowVisible(accounts_)) || shown_.signedIn);
}

const Piece* SignInArea::Find(PieceKind kind, CREDENTIAL_PROVIDER_FIELD_TYPE type) const
{
    const auto found = std::ranges::find_if(pieces_, [&](const Piece& piece) {
        return piece.kind == kind && shown_.tile.fields[piece.field].type == type;
    });
    return found == pieces_.end() ? nullptr : &*found;
}

void SignInArea::ShowPin(const Piece* piece)
{
    const HWND window = pin_.Window();
    // What the provider has cleared, or hides, is not kept here either.
    if ((piece == nullptr || shown_.tile.fields[piece->field].typedChars == 0) && !pin_.Empty()) {
        pin_.Clear();
    }
    if (piece == nullptr) {
        Hide(window);
        return;
    }
    const TileField& field = shown_.tile.fields[piece->field];
    pin_.SetLabel(field.label);
    EnableWindow(window, field.interactive != CPFIS_DISABLED);
    SendMessageW(window, EM_SETREADONLY, field.interactive == CPFIS_READONLY, 0);
    const int textHeight = MeasureText(fonts_.Get(FontRole::kText), L"X", size_.cx).cy;
    RECT place = piece->place;
    InflateRect(&place, -kTextInset, -(place.bottom - place.top - textHeight) / 2);
    Place(window, place);
    ShowWindow(window, SW_SHOWNA);
}

void SignInArea::ShowAccounts(const Piece* piece)
{
    if (piece == nullptr) {
        SendMessageW(accounts_, CB_RESETCONTENT, 0, 0);
        Hide(accounts_);
        return;
    }
    const TileField& field = shown_.tile.fields[piece->field];
    SendMessageW(accounts_, CB_RESETCONTENT, 0, 0);
    for (const std::wstring& row : field.rows) {
        SendMessageW(accounts_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(row.c_str()));
    }
    SendMessageW(accounts_, CB_SETCURSEL, field.selectedRow, 0);
    SetWindowTextW(accounts_, field.label.c_str());
    EnableWindow(accounts_, field.interactive != CPFIS_DISABLED);
    const int height = piece->place.bottom - piece->place.top - 2 * kFrame;
    SendMessageW(accounts_, CB_SETITEMHEIGHT, static_cast<WPARAM>(-1), height - 6);
    SendMessageW(accounts_, CB_SETITEMHEIGHT, 0, kAccountHeight);
    RECT place = piece->place;
    InflateRect(&place, -kFrame, -kFrame);
    place.bottom += 8 * kAccountHeight;  // the list that drops down
    Place(accounts_, place);
    ShowWindow(accounts_, SW_SHOWNA);
}

void SignInArea::ShowButton(HWND button, const Piece* piece)
{
    if (piece == nullptr) {
        Hide(button);
        return;
    }
    const TileField& field = shown_.tile.fields[piece->field];
    SetWindowTextW(button, (field.text.empty() ? field.label : field.text).c_str());
    EnableWindow(button, field.interactive != CPFIS_DISABLED);
    Place(button, piece->place);
    ShowWindow(button, SW_SHOWNA);
    InvalidateRect(button, nullptr, FALSE);
}

// An input that appears gets the focus; so does the tile when whoever had it is gone.
void SignInArea::MoveFocus(bool inputAppeared) const
{
    const HWND focus = GetFocus();
    if (inputAppeared || focus == nullptr || focus == window_ || !Usable(focus)) {
        TakeFocus();
    }
}

void SignInArea::TakeFocus() const
{
    for (const Piece& piece : pieces_) {
        if (piece.kind == PieceKind::kInput &&
            shown_.tile.fields[piece.field].interactive == CPFIS_FOCUSED && Usable(pin_.Window())) {
            SetFocus(pin_.Window());
            return;
        }
    }
    for (const HWND control : {pin_.Window(), accounts_, submit_, again_, list_.Window()}) {
        if (Usable(control)) {
            SetFocus(control);
            return;
        }
    }
}

int SignInArea::DefaultControl() const noexcept
{
    const HWND focus = GetFocus();
    if (focus == list_.Window()) {
        return kTileListId;
    }
    if (GetDlgCtrlID(focus) > kBeginAgainId) {
        return 0;  // somebody else's
    }
    if (Usable(again_)) {
        return kBeginAgainId;
    }
    return Usable(submit_) ? kSubmitId : 0;
}

bool SignInArea::OnCommand(WORD id, WORD code)
{
    if (session_ == nullptr || refreshing_ || session_->SignedIn()) {
        return true;
    }
    switch (id) {
        case kTileListId:
            if (code == TileList::kChosen) {
                Choose(list_.Marked());
            }
            return true;
        case kPinId:
            if (code == EN_CHANGE) {
                TypePin();
            } else if (code == EN_SETFOCUS || code == EN_KILLFOCUS) {
                InvalidateRect(window_, nullptr, FALSE);
            }
            return true;
        case kAccountsId:
            if (code == CBN_SELCHANGE) {
                session_->ChooseRow(
                    static_cast<unsigned>(SendMessageW(accounts_, CB_GETCURSEL, 0, 0)) + 1);
            } else if (code == CBN_SETFOCUS || code == CBN_KILLFOCUS) {
                InvalidateRect(window_, nullptr, FALSE);
            }
            return true;
        case kSubmitId:
            if (code == BN_CLICKED && session_->Host().CanClick()) {
                session_->Click();
            }
            return true;
        case IDCANCEL:
            session_->Deselect();
            SetFocus(list_.Window());
            return true;
        default:
            return false;
    }
}

void SignInArea::Choose(int row)
{
    const ProviderHost& screen = session_->Host();
    const auto index = static_cast<std::size_t>(row);
    if (row < 0 || index >= screen.TileCount()) {
        return;
    }
    if (!screen.HasSelection() || screen.Selected() != index) {
        session_->Select(static_cast<unsigned>(row) + 1);
        Refresh();
    }
    TakeFocus();
}

void SignInArea::TypePin()
{
    // Only what a person types: the control says "changed" when it is cleared, too.
    if (IsWindowVisible(pin_.Window())) {
        session_->TypePin(pin_.Text());
    }
}

bool SignInArea::OnDrawItem(const DRAWITEMSTRUCT& item) const
{
    switch (item.CtlID) {
        case kTileListId:
            list_.Draw(item);
            return true;
        case kAccountsId:
            DrawAccount(item);
            return true;
        case kSubmitId:
        case kBeginAgainId:
            DrawButton(item);
            return true;
        default:
            return false;
    }
}

}  // namespace kelvor::simulator
