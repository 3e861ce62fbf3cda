#include "logonui/screen_view.h"

#include <utility>

#include "logonui/tile_view.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr std::size_t kWhoColumns = 9;
constexpr char kStatus[] = "status";
constexpr char kPictureIndent[] = "          ";

std::string LineOf(const char* who, const std::string& what)
{
    std::string line = who;
    line.resize(kWhoColumns, ' ');
    return line + what;
}

}  // namespace

void ScreenView::Say(const char* who, const std::string& what)
{
    const std::string line = LineOf(who, what);
    if (GetCurrentThreadId() == loopThread_) {
        TellHeldStatus();
    }
    lock_.With([&] { story_.push_back(line); });
    transcript_.Event(line);
}

void ScreenView::Mention(const char* who, const std::string& what)
{
    transcript_.Event(LineOf(who, what));
}

void ScreenView::TileChanged()
{
    lock_.With([&] { changedTick_ = GetTickCount64(); });
}

void ScreenView::StatusShown(const StatusChange& change)
{
    const bool isNew =
        lock_.With([&] { return std::exchange(status_, change.text) != change.text; });
    if (!isNew || change.text.empty()) {
        return;
    }
    if (GetCurrentThreadId() == loopThread_ && inCall_) {
        heldStatus_ = LineOf(kStatus, ToUtf8(change.text));
        transcript_.Event(heldStatus_);
    } else {
        Say(kStatus, ToUtf8(change.text));
    }
}

void ScreenView::CallBegins()
{
    inCall_ = true;
}

void ScreenView::CallHasEnded()
{
    inCall_ = false;
    TellHeldStatus();
}

void ScreenView::TellHeldStatus()
{
    if (!heldStatus_.empty()) {
        lock_.With([&] { story_.push_back(std::exchange(heldStatus_, {})); });
    }
}

void ScreenView::DrawAtRest(const Tile& tile)
{
    const ULONGLONG changedTick = lock_.With([&] { return changedTick_; });
    if (GetTickCount64() - changedTick >= kRestMs) {
        DrawOnTranscript(DrawTile(tile));
    }
}

void ScreenView::Draw(const Tile& tile)
{
    TellHeldStatus();
    std::vector<std::string> picture = DrawTile(tile);
    DrawOnTranscript(picture);
    if (picture == told_) {
        return;
    }
    told_ = std::move(picture);
    lock_.With([&] {
        for (const std::string& line : told_) {
            story_.push_back(kPictureIndent + line);
        }
    });
}

std::vector<std::string> ScreenView::Story() const
{
    return lock_.With([&] { return story_; });
}

void ScreenView::DrawOnTranscript(const std::vector<std::string>& picture)
{
    if (picture == drawn_) {
        return;
    }
    drawn_ = picture;
    for (const std::string& line : drawn_) {
        transcript_.Line(kPictureIndent + line);
    }
}

}  // namespace kelvor::simulator
