#pragma once

#include <windows.h>

#include "handle.h"

namespace kelvor::simulator {

struct HookPolicy {
    using Handle = HHOOK;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle hook) noexcept { UnhookWindowsHookEx(hook); }
};

// Gives a window with controls the keyboard of a dialog: Tab, the arrows, Enter, Escape. It listens
// to the thread's message queue instead of standing in a message loop, since a provider that signs
// in the blocking way has a loop of its own. One object at a time.
class Keyboard {
 public:
    explicit Keyboard(HWND window);
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

 private:
    static LRESULT CALLBACK OnTaken(int code, WPARAM removed, LPARAM message);

    Unique<HookPolicy> hook_;
};

}  // namespace kelvor::simulator
