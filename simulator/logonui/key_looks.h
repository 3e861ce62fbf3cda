#pragma once

#include <windows.h>

#include <atomic>

#include "imports/import_table.h"

namespace kelvor::simulator {

// Counts how often threads of the module, other than the one that made this object, look for the
// key. Hands are slower than threads: a key that is plugged in before a freshly selected tile has
// had its first look would be there all along as far as the tile can tell. One object at a time.
class KeyLooks {
 public:
    explicit KeyLooks(HMODULE module);
    ~KeyLooks();
    KeyLooks(const KeyLooks&) = delete;
    KeyLooks& operator=(const KeyLooks&) = delete;

    void Restart() noexcept { looks_ = 0; }
    bool Any() const noexcept { return looks_ != 0; }

 private:
    static int __cdecl Look();

    const DWORD ownThread_ = GetCurrentThreadId();
    std::atomic<unsigned> looks_{0};
    ImportPatch patch_;
};

}  // namespace kelvor::simulator
