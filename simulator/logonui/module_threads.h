#pragma once

#include <windows.h>

#include "surroundings/clock.h"
#include "surroundings/thread_watch.h"
#include "world/world.h"

namespace kelvor::simulator {

// How often the module looks for the key while a tile is selected.
inline constexpr DWORD kKeyWatchPollMs = 500;

// Said when they ought to have come to rest and have not.
inline constexpr char kNoRest[] = "the module's threads do not come to rest";

// The module's own threads: whether the world lets them start, and whether they have come to rest.
class ModuleThreads {
 public:
    ModuleThreads(HMODULE module, const CallRange& failing);

    // Whether each has ended or does nothing until time passes: a key watch between two looks, a
    // directory that has not answered. Loop's thread only, which is the one that has them started.
    bool AtRest(const Clock& clock) const;
    // Whether each has ended or waits in whatever way for something or for time to pass.
    bool AllWait(const Clock& clock) const;

 private:
    ThreadWatch threads_;
};

}  // namespace kelvor::simulator
