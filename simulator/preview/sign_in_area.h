#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "logonui/session.h"
#include "preview/layout.h"
#include "preview/look.h"
#include "preview/pin_box.h"
#include "preview/tile_list.h"

namespace kelvor::simulator {

// The sign-in screen: the selected tile in the middle, the list of tiles at its lower left. Shows
// what the provider has set and nothing else; what a person does goes to the session at once.
class SignInArea {
 public:
    SignInArea(HWND window, const Fonts& fonts);
    SignInArea(const SignInArea&) = delete;
    SignInArea& operator=(const SignInArea&) = delete;

    // What stands at the top: the PC and, until there is a session, which screen it is.
    void SetPlace(const std::wstring& pc, const std::wstring& screen);
    // Shown in the middle until there is a session.
    void SetNotice(const std::wstring& notice) { notice_ = notice; }
    void Attach(Session& session) noexcept { session_ = &session; }

    void Resize(SIZE size);
    // Brings controls and picture up to what the provider says now.
    void Refresh();
    void Paint(HDC dc) const;
    // False for a control of somebody else.
    bool OnCommand(WORD id, WORD code);
    bool OnDrawItem(const DRAWITEMSTRUCT& item) const;

    // Puts the focus on what the selected tile offers first, else on the list of tiles.
    void TakeFocus() const;
    // The control that Enter stands for where the focus is now; 0 when there is none.
    int DefaultControl() const noexcept;

 private:
    struct Shown {  // what Refresh has shown last
        Tile tile;
        std::wstring owner;
        bool hasTile = false;
        bool signedIn = false;
        std::wstring screen, notice;
    };

    void ShowTiles();
    void ShowTile();
    void ShowInputs();
    void ShowPin(const Piece* piece);
    void ShowAccounts(const Piece* piece);
    void ShowButton(HWND button, const Piece* piece);
    void MoveFocus(bool inputAppeared) const;
    const Piece* Find(PieceKind kind, CREDENTIAL_PROVIDER_FIELD_TYPE type) const;

    void PaintHeading(HDC dc) const;
    void PaintPiece(HDC dc, const Piece& piece) const;
    void PaintMiddle(HDC dc) const;
    void Choose(int row);
    void TypePin();
    void DrawAccount(const DRAWITEMSTRUCT& item) const;
    void DrawButton(const DRAWITEMSTRUCT& item) const;

    const HWND window_;
    const Fonts& fonts_;
    Session* session_ = nullptr;
    TileList list_;
    PinBox pin_;
    HWND accounts_ = nullptr;
    HWND submit_ = nullptr;
    HWND again_ = nullptr;
    std::wstring pc_, screen_, notice_;
    SIZE size_ = {};
    Shown shown_;
    std::vector<Piece> pieces_;
    bool refreshing_ = false;  // what changes now was not typed by anybody
};

}  // namespace kelvor::simulator
