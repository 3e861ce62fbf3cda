#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "logonui/tile_model.h"
#include "preview/look.h"

namespace kelvor::simulator {

enum class PieceKind { kImage, kOwner, kLargeText, kSmallText, kStatusSign, kInput, kButton };

// Something of the selected tile and the place where it stands.
struct Piece {
    PieceKind kind = PieceKind::kImage;
    std::size_t field = 0;  // its id; of an owner and a sign that of the field that it goes with
    RECT place = {};
};

// The size of a text that is broken at a width.
using Measure = std::function<SIZE(FontRole role, std::wstring_view text, int width)>;

// Places what a tile shows of its fields, one below the other in the order of their ids, in the
// middle of a screen of the given width. The submit button stands beside the field that the
// provider names, or by itself where that one is not shown. `owner` is the user of the tile, or
// empty.
std::vector<Piece> LayOut(const Tile& tile, const std::wstring& owner, int width,
                          const Measure& measure);

}  // namespace kelvor::simulator
