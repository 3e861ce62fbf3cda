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
//
// Beside that it keeps the story of the run: what a person saw, without times, the same in every
// run of one scenario.
class ScreenView {
 public:
    // Made by the loop's thread.
    explicit ScreenView(Transcript& transcript) : transcript_(transcript) {}

    // A line of who did what: "user", "status", "service", "LSA" and the like. Any thread.
    void Say(const char* who, const std::string& what);
    // The same for what is another one in each run, or nothing that a person sees: not in the
    // story.
    void Mention(const char* who, const std::string& what);
    // Any thread.
    void TileChanged();
    void StatusShown(const StatusChange& change);

    // A call to the provider that may pump messages begins, or has ended. Of the texts which come
    // meanwhile on the loop's thread the story keeps the one that a person is left with: how many
    // of the others are ever seen depends on how fast the machine is.
    void CallBegins();
    void CallHasEnded();

    // Draws `tile` if it looks different and is at rest. Loop's thread only.
    void DrawAtRest(const Tile& tile);
    // Draws it at once, into the story too. Loop's thread only.
    void Draw(const Tile& tile);

    // Line by line, as UTF-8. Any thread.
    std::vector<std::string> Story() const;

 private:
    static constexpr ULONGLONG kRestMs = 60;  // a burst of changes is one picture

    void TellHeldStatus();
    void DrawOnTranscript(const std::vector<std::string>& picture);

    Transcript& transcript_;
    const DWORD loopThread_ = GetCurrentThreadId();
    bool inCall_ = false;     // loop's thread
    std::string heldStatus_;  // loop's thread: to be told when the call has ended
    Lock lock_;
    ULONGLONG changedTick_ = 0;       // under lock_
    std::wstring status_;             // under lock_: as last shown
    std::vector<std::string> story_;  // under lock_
    std::vector<std::string> drawn_;  // loop's thread
    std::vector<std::string> told_;   // loop's thread: the story's last picture
};

}  // namespace kelvor::simulator
