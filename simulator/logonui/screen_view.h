#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "lock.h"
#include "logonui/tile_model.h"
#include "logonui/transcript.h"

namespace kelvor::simulator {

// Shows what happens on the screen: a line for each status text the moment it comes, and the tile
// itself whenever it looks different and has come to rest.
class ScreenView {
 public:
    explicit ScreenView(Transcript& transcript) : transcript_(transcript) {}

    // A line of who did what: "user", "status", "service", "LSA" and the like. Any thread.
    void Say(const char* who, const std::string& what);
    // Any thread.
    void TileChanged();
    void StatusShown(const StatusChange& change);

    // Draws `tile` if it looks different and is at rest; at once when `now`. Loop's thread only.
    void Draw(const Tile& tile, bool now);

 private:
    static constexpr ULONGLONG kRestMs = 60;  // a burst of changes is one picture

    Transcript& transcript_;
    Lock lock_;
    ULONGLONG changedTick_ = 0;       // under lock_
    std::vector<std::string> drawn_;  // loop's thread
};

}  // namespace kelvor::simulator
