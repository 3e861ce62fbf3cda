#pragma once

#include <windows.h>

#include "imports/import_table.h"
#include "surroundings/clock.h"

namespace kelvor::simulator {

// WaitNamedPipeW of a module by a clock that stands still: a pipe that stays busy moves the clock
// by the length of the wait and takes no real time. One object at a time; the clock outlives it.
class PipeWait {
 public:
    PipeWait(HMODULE module, Clock& clock);
    ~PipeWait();
    PipeWait(const PipeWait&) = delete;
    PipeWait& operator=(const PipeWait&) = delete;

 private:
    static BOOL WINAPI Wait(LPCWSTR name, DWORD limitMs);

    Clock& clock_;
    const ImportPatch patch_;
};

}  // namespace kelvor::simulator
