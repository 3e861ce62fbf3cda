#pragma once

#include <windows.h>

#include <utility>

namespace kelvor {

// Owns one handle of Windows. The policy names the handle's type, the value that means "none"
// (null is not the only one) and the call that gives it back. Moved, never copied.
template <class Policy>
class Unique {
 public:
    using Handle = typename Policy::Handle;

    Unique() noexcept = default;
    explicit Unique(Handle handle) noexcept : handle_(handle) {}
    Unique(Unique&& other) noexcept : handle_(other.Release()) {}
    Unique& operator=(Unique&& other) noexcept
    {
        Reset(other.Release());
        return *this;
    }
    Unique(const Unique&) = delete;
    Unique& operator=(const Unique&) = delete;
    ~Unique() { Reset(); }

    explicit operator bool() const noexcept { return handle_ != Policy::Empty(); }
    Handle Get() const noexcept { return handle_; }
    Handle Release() noexcept { return std::exchange(handle_, Policy::Empty()); }

    // For calls that hand a handle out through a pointer. Gives back what was held before.
    Handle* Receive() noexcept
    {
        Reset();
        return &handle_;
    }

    void Reset(Handle next = Policy::Empty()) noexcept
    {
        const Handle old = std::exchange(handle_, next);
        if (old != Policy::Empty()) {
            const DWORD error = GetLastError();  // closing must not eat the caller's error
            Policy::Close(old);
            SetLastError(error);
        }
    }

 private:
    Handle handle_ = Policy::Empty();
};

// Threads, events and mutexes: kernel objects whose creation answers null on failure.
struct KernelObjectPolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};
using UniqueKernelObject = Unique<KernelObjectPolicy>;

}  // namespace kelvor
