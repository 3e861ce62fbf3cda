#include "preview/layout.h"

#include <algorithm>
#include <optional>

namespace kelvor::simulator {
namespace {

constexpr int kTop = 96;
constexpr int kImageSide = 168;
constexpr int kTextWidth = 560;
constexpr int kInputWidth = 300;
constexpr int kRowHeight = 38;  // of inputs and the button
constexpr int kSignSide = 22;
constexpr int kGap = 14;     // between pieces
constexpr int kBeside = 12;  // between a text and what stands beside it

class Column {
 public:
    Column(const Tile& tile, const std::wstring& owner, int width, const Measure& measure)
        : tile_(tile), owner_(owner), middle_(width / 2), measure_(measure), button_(FindButton())
    {
    }

    std::vector<Piece> Place()
    {
        for (std::size_t id = 0; id < tile_.fields.size(); ++id) {
            if (tile_.fields[id].Shown(tile_.selected)) {
                PlaceField(id);
            }
        }
        return std::move(pieces_);
    }

 private:
    std::optional<std::size_t> FindButton() const
    {
        for (std::size_t id = 0; id < tile_.fields.size(); ++id) {
            const TileField& field = tile_.fields[id];
            if (field.type == CPFT_SUBMIT_BUTTON && field.Shown(tile_.selected)) {
                return id;
            }
        }
        return std::nullopt;
    }

    bool ButtonStandsBeside(std::size_t id) const
    {
        return button_ && tile_.fields[*button_].adjacentTo == id;
    }

    void PlaceField(std::size_t id)
    {
        const TileField& field = tile_.fields[id];
        switch (field.type) {
            case CPFT_TILE_IMAGE:
                if (field.image) {
                    Add(PieceKind::kImage, id, middle_ - kImageSide / 2, kImageSide, kImageSide);
                    NextRow(kImageSide);
                }
                break;
            case CPFT_LARGE_TEXT:
                PlaceLargeText(id);
                break;
            case CPFT_SMALL_TEXT:
                PlaceSmallText(id);
                break;
            case CPFT_PASSWORD_TEXT:
            case CPFT_COMBOBOX:
                Add(PieceKind::kInput, id, middle_ - kInputWidth / 2, kInputWidth, kRowHeight);
                if (ButtonStandsBeside(id)) {
                    Add(PieceKind::kButton, *button_, middle_ + kInputWidth / 2, kRowHeight,
                        kRowHeight);
                }
                NextRow(kRowHeight);
                break;
            case CPFT_SUBMIT_BUTTON: {
                const std::size_t beside = field.adjacentTo;
                if (beside >= tile_.fields.size() || !tile_.fields[beside].Shown(tile_.selected)) {
                    Add(PieceKind::kButton, id, middle_ - kRowHeight / 2, kRowHeight, kRowHeight);
                    NextRow(kRowHeight);
                }
                break;
            }
            default:
                break;  // the provider has no such field
        }
    }

    void PlaceLargeText(std::size_t id)
    {
        if (!owner_.empty()) {
            PlaceText(PieceKind::kOwner, id, FontRole::kName, owner_);
        }
        PlaceText(PieceKind::kLargeText, id, owner_.empty() ? FontRole::kName : FontRole::kTitle,
                  tile_.fields[id].text);
    }

    void PlaceText(PieceKind kind, std::size_t id, FontRole role, const std::wstring& text)
    {
        const SIZE size = measure_(role, text, kTextWidth);
        Add(kind, id, middle_ - kTextWidth / 2, kTextWidth, size.cy);
        NextRow(size.cy);
    }

    // A sign to the left of the text, the button to its right; all of it in the middle.
    void PlaceSmallText(std::size_t id)
    {
        const TileField& field = tile_.fields[id];
        const bool beside = ButtonStandsBeside(id);
        if (field.text.empty() && !beside) {
            return;
        }
        const bool sign = field.label == kStatusLabel && tile_.icon != CPSI_NONE;
        const SIZE text = measure_(FontRole::kText, field.text, kTextWidth);
        const int before = sign ? kSignSide + kBeside : 0;
        const int after = beside ? kBeside + kRowHeight : 0;
        const int height = std::max<int>(text.cy, beside ? kRowHeight : 0);
        const int left = middle_ - (before + text.cx + after) / 2;
        if (sign) {
            Add(PieceKind::kStatusSign, id, left, kSignSide, kSignSide);
        }
        Add(PieceKind::kSmallText, id, left + before, text.cx, text.cy, (height - text.cy) / 2);
        if (beside) {
            Add(PieceKind::kButton, *button_, left + before + text.cx + kBeside, kRowHeight,
                kRowHeight, (height - kRowHeight) / 2);
        }
        NextRow(height);
    }

    void Add(PieceKind kind, std::size_t id, int left, int width, int height, int down = 0)
    {
        const int top = top_ + down;
        pieces_.push_back({kind, id, {left, top, left + width, top + height}});
    }

    void NextRow(int height) { top_ += height + kGap; }

    const Tile& tile_;
    const std::wstring& owner_;
    const int middle_;
    const Measure& measure_;
    const std::optional<std::size_t> button_;
    std::vector<Piece> pieces_;
    int top_ = kTop;
};

}  // namespace

std::vector<Piece> LayOut(const Tile& tile, const std::wstring& owner, int width,
                          const Measure& measure)
{
    return Column(tile, owner, width, measure).Place();
}

}  // namespace kelvor::simulator
