#pragma once

// Containers for secrets: what they held is overwritten with zeros before its memory is given
// back, whatever the way out. No Windows header, so that code using them builds anywhere.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kelvor {

// Overwrites `sizeBytes` bytes with zeros. The volatile writes are side effects that an optimiser
// has to keep although the memory is about to die.
inline void WipeMemory(void* memory, std::size_t sizeBytes) noexcept
{
    auto* byte = static_cast<volatile unsigned char*>(memory);
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        byte[i] = 0;
    }
}

// Allocator whose memory is zero again when it is freed, so that a vector which grows, shrinks,
// is assigned to or dies leaves nothing behind.
template <class T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() noexcept = default;
    template <class U>
    explicit WipingAllocator(const WipingAllocator<U>&) noexcept
    {
    }

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) noexcept
    {
        WipeMemory(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) noexcept { return true; }
};

// A run of secret units (bytes, UTF-8 or UTF-16 code units), followed in memory by a zero unit.
// Moves, never copies; unlike a string it has no small buffer inside the object that a move would
// leave behind.
template <class T>
class Secret {
    static_assert(std::is_trivially_copyable_v<T>);

 public:
    Secret() noexcept = default;
    explicit Secret(std::size_t count) : units_(count + 1) {}
    explicit Secret(std::basic_string_view<T> text) { Append(text); }
    Secret(Secret&&) noexcept = default;  // the source is left empty
    Secret& operator=(Secret&&) noexcept = default;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() = default;

    T* Data() noexcept { return units_.data(); }
    const T* Data() const noexcept { return units_.data(); }
    // Zero-terminated.
    const T* CStr() const noexcept { return units_.empty() ? &kZero : units_.data(); }
    std::size_t Size() const noexcept { return units_.empty() ? 0 : units_.size() - 1; }
    bool Empty() const noexcept { return Size() == 0; }
    std::basic_string_view<T> View() const noexcept { return {units_.data(), Size()}; }

    void Reserve(std::size_t count) { units_.reserve(count + 1); }
    void Append(T unit) { Append(std::basic_string_view<T>(&unit, 1)); }
    void Append(std::basic_string_view<T> text)
    {
        const std::size_t size = Size();
        units_.resize(size + text.size() + 1);
        std::copy(text.begin(), text.end(), units_.data() + size);
    }
    // Keeps the first `count` units and overwrites the rest.
    void Shrink(std::size_t count) noexcept
    {
        if (count < Size()) {
            WipeMemory(units_.data() + count, (Size() - count) * sizeof(T));
            units_.erase(units_.begin() + static_cast<std::ptrdiff_t>(count), units_.end() - 1);
        }
    }
    void Clear() noexcept { Shrink(0); }
    // Overwrites every unit with zero; the size stays.
    void Wipe() noexcept { WipeMemory(units_.data(), Size() * sizeof(T)); }

 private:
    static constexpr T kZero = 0;

    std::vector<T, WipingAllocator<T>> units_;  // the zero unit last; empty when never filled
};

using SecretBytes = Secret<unsigned char>;
using SecretText = Secret<char>;  // UTF-8

}  // namespace kelvor
