#pragma once

#include <windows.h>

#include <string>

#include "handle.h"
#include "world/world.h"

namespace kelvor::simulator {

struct MappedViewPolicy {
    using Handle = void*;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle view) noexcept { UnmapViewOfFile(view); }
};

// The place where the key is plugged in or laid down, shared by all processes that name the same
// slot: presence, touches, and the wrong PINs since the key got power. Any thread.
class KeySlot {
 public:
    enum class TouchResult { kTouched, kTimeout, kRemoved };

    // Opens the slot; the first process to do so puts the key where `presence` says. Throws
    // std::runtime_error.
    KeySlot(const std::wstring& name, Presence presence);

    Presence Where() const noexcept;
    void Put(Presence presence) noexcept;

    // Blinks until the key is touched, taken away or `timeoutMs` have passed. With `touchAfterMs`
    // below INFINITE the user touches it by himself after that long.
    TouchResult WaitForTouch(DWORD touchAfterMs, DWORD timeoutMs) noexcept;
    bool IsBlinking() const noexcept;
    void Touch() noexcept;

    // Wrong PINs in a row since the key got power.
    LONG WrongPins() const noexcept;
    void SetWrongPins(LONG count) noexcept;

    // Held while the key works on one command; its memory is touched by nobody else meanwhile.
    class Turn {
     public:
        explicit Turn(const KeySlot& slot) noexcept;
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

     private:
        HANDLE mutex_;
    };

 private:
    struct Shared;

    UniqueKernelObject mutex_;
    UniqueKernelObject touched_;  // auto reset
    UniqueKernelObject removed_;  // manual reset, set while no key is there
    UniqueKernelObject section_;
    Unique<MappedViewPolicy> view_;
    Shared* shared_ = nullptr;
};

}  // namespace kelvor::simulator
