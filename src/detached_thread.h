#pragma once

#include <windows.h>

#include <functional>

#include "handle.h"

namespace kelvor {

// Runs `task` on a new thread that nobody joins. The thread keeps the module loaded by itself until
// its last instruction, since the object counter may reach zero while it still runs. What the task
// throws ends with it. Returns ERROR_SUCCESS, or the system's error when no thread was started; the
// task is then destroyed unrun.
[[nodiscard]] DWORD StartDetachedThread(std::function<void()> task);
// The same for a thread that can be waited for, by `thread`, and that is not always.
[[nodiscard]] DWORD StartDetachedThread(std::function<void()> task, UniqueKernelObject& thread);

}  // namespace kelvor
