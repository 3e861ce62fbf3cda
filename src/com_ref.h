#pragma once

#include <windows.h>

#include <unknwn.h>

#include <utility>

namespace kelvor {

// Holds one reference to a COM object.
template <class Interface>
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions): assignment by value serves both.
class ComRef {
 public:
    ComRef() noexcept = default;
    // Takes a reference of its own; null is allowed.
    explicit ComRef(Interface* object) noexcept : object_(object)
    {
        if (object_ != nullptr) {
            object_->AddRef();
        }
    }
    ComRef(const ComRef& other) noexcept : ComRef(other.object_) {}
    ComRef(ComRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComRef& operator=(ComRef other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComRef()
    {
        if (object_ != nullptr) {
            object_->Release();
        }
    }

    // Takes over a reference that somebody else has already counted.
    static ComRef Adopt(Interface* object) noexcept
    {
        ComRef ref;
        ref.object_ = object;
        return ref;
    }

    explicit operator bool() const noexcept { return object_ != nullptr; }
    Interface* Get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    // For calls that hand a counted reference out. The ref must be empty.
    Interface** Receive() noexcept { return &object_; }
    // Gives the reference up without releasing it.
    Interface* Detach() noexcept { return std::exchange(object_, nullptr); }

 private:
    Interface* object_ = nullptr;
};

// Owns memory of the COM task allocator.
template <class T>
class TaskMemory {
 public:
    TaskMemory() noexcept = default;
    explicit TaskMemory(T* memory) noexcept : memory_(memory) {}
    TaskMemory(TaskMemory&& other) noexcept : memory_(other.Release()) {}
    TaskMemory& operator=(TaskMemory&& other) noexcept
    {
        Reset(other.Release());
        return *this;
    }
    TaskMemory(const TaskMemory&) = delete;
    TaskMemory& operator=(const TaskMemory&) = delete;
    ~TaskMemory() { Reset(); }

    explicit operator bool() const noexcept { return memory_ != nullptr; }
    T* Get() const noexcept { return memory_; }
    T* Release() noexcept { return std::exchange(memory_, nullptr); }
    T** Receive() noexcept
    {
        Reset();
        return &memory_;
    }
    void Reset(T* next = nullptr) noexcept { CoTaskMemFree(std::exchange(memory_, next)); }

 private:
    T* memory_ = nullptr;
};
using TaskString = TaskMemory<wchar_t>;

}  // namespace kelvor
