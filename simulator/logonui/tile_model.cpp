#include "logonui/tile_model.h"

#include <utility>

namespace kelvor::simulator {

bool TileField::Shown(bool tileSelected) const noexcept
{
    const int wanted =
        tileSelected ? CPFS_DISPLAY_IN_SELECTED_TILE : CPFS_DISPLAY_IN_DESELECTED_TILE;
    return (static_cast<int>(state) & wanted) != 0;
}

std::optional<DWORD> Tile::FindLabel(std::wstring_view label) const
{
    for (std::size_t id = 0; id < fields.size(); ++id) {
        if (fields[id].label == label) {
            return static_cast<DWORD>(id);
        }
    }
    return std::nullopt;
}

TileModel::TileModel(TileObserver observer) : observer_(std::move(observer)) {}

Tile TileModel::Snapshot() const
{
    return lock_.With([&] { return tile_; });
}

std::vector<StatusChange> TileModel::StatusHistory() const
{
    return lock_.With([&] { return history_; });
}

void TileModel::Change(const std::function<void(Tile&)>& change)
{
    lock_.With([&] { change(tile_); });
    observer_.changed();
}

bool TileModel::ChangeField(DWORD fieldId, const std::function<void(TileField&)>& change)
{
    const bool known = lock_.With([&] {
        if (fieldId >= tile_.fields.size()) {
            return false;
        }
        change(tile_.fields[fieldId]);
        return true;
    });
    if (known) {
        observer_.changed();
    }
    return known;
}

bool TileModel::SetText(DWORD fieldId, const wchar_t* text)
{
    const StatusChange shown{GetTickCount64(), GetCurrentThreadId(), text != nullptr ? text : L""};
    bool isStatus = false;
    const bool known = ChangeField(fieldId, [&](TileField& field) {
        isStatus = field.label == kStatusLabel;
        if (isStatus) {
            history_.push_back(shown);
            if (field.text != shown.text) {
                tile_.icon = CPSI_NONE;  // it belonged to the text before
            }
        }
        field.text = shown.text;
        field.typedChars = 0;
    });
    if (isStatus) {
        observer_.statusShown(shown);
    }
    return known;
}

}  // namespace kelvor::simulator
