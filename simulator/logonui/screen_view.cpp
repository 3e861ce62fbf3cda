#include "logonui/screen_view.h"

#include "logonui/tile_view.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr std::size_t kWhoColumns = 9;

}  // namespace

void ScreenView::Say(const char* who, const std::string& what)
{
    std::string line = who;
    line.resize(kWhoColumns, ' ');
    transcript_.Event(line + what);
}

void ScreenView::TileChanged()
{
    lock_.With([&] { changedTick_ = GetTickCount64(); });
}

void ScreenView::StatusShown(const StatusChange& change)
{
    if (!change.text.empty()) {
        Say("status", ToUtf8(change.text));
    }
}

void ScreenView::Draw(const Tile& tile, bool now)
{
    const ULONGLONG changedTick = lock_.With([&] { return changedTick_; });
    if (!now && GetTickCount64() - changedTick < kRestMs) {
        return;
    }
    std::vector<std::string> picture = DrawTile(tile);
    if (picture == drawn_) {
        return;
    }
    drawn_ = std::move(picture);
    for (const std::string& line : drawn_) {
        transcript_.Line("          " + line);
    }
}

}  // namespace kelvor::simulator
