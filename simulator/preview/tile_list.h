#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "logonui/tile_model.h"
#include "preview/look.h"

namespace kelvor::simulator {

// One tile as the list shows it.
struct TileRow {
    std::wstring owner;  // empty for a tile of nobody
    std::wstring title;
    TileImage image;
    bool selected = false;

    friend bool operator==(const TileRow&, const TileRow&) = default;
};

// The tiles of the screen at its lower left: Windows' own list box. The arrows move its mark; a
// click, the space bar and Enter choose. Whoever owns it gets WM_COMMAND with its id and the code
// kChosen, and hands it WM_DRAWITEM.
class TileList {
 public:
    static constexpr WORD kChosen = BN_CLICKED;  // what Enter sends to a dialog's default control
    static constexpr int kRowHeight = 64;

    TileList(HWND parent, int id, const Fonts& fonts);

    HWND Window() const noexcept { return window_; }
    void Show(std::vector<TileRow> rows);
    // The row that the mark is on; -1 when there is none.
    int Marked() const noexcept;
    void Mark(int row) noexcept;
    void Draw(const DRAWITEMSTRUCT& item) const;

 private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter,
                                      UINT_PTR, DWORD_PTR);

    const Fonts& fonts_;
    HWND window_ = nullptr;
    std::vector<TileRow> rows_;
};

}  // namespace kelvor::simulator
