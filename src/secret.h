#pragma once

// Containers for secrets: what they held is overwritten with zeros before its memory is given
// back, whatever the way out. No Windows header, so that code using them builds anywhere.

#include <cstddef>
#include <memory>
#include <span>
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
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) noexcept
    {
        return true;
    }
};

// A run of secret units (bytes, UTF-8 or UTF-16 code units). Moves, never copies; unlike a string
// it has no small buffer inside the object that a move would leave behind.
template <class T>
class Secret {
    static_assert(std::is_trivially_copyable_v<T>);

 public:
    Secret() noexcept = default;
    explicit Secret(std::size_t count) : units_(count) {}
    explicit Secret(std::basic_string_view<T> text) : units_(text.begin(), text.end()) {}
    Secret(Secret&&) noexcept = default;
    Secret& operator=(Secret&&) noexcept = default;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() = default;

    T* Data() noexcept { return units_.data(); }
    const T* Data() const noexcept { return units_.data(); }
    std::size_t Size() const noexcept { return units_.size(); }
    bool Empty() const noexcept { return units_.empty(); }
    std::basic_string_view<T> View() const noexcept { return {units_.data(), units_.size()}; }

    void Reserve(std::size_t count) { units_.reserve(count); }
    void Append(T unit) { units_.push_back(unit); }
    void Append(std::basic_string_view<T> text)
    {
        units_.insert(units_.end(), text.begin(), text.end());
    }
    // Keeps the first `count` units and overwrites the rest.
    void Shrink(std::size_t count) noexcept
    {
        if (count < units_.size()) {
            WipeMemory(units_.data() + count, (units_.size() - count) * sizeof(T));
            units_.resize(count);
        }
    }
    // Overwrites every unit with zero; the size stays.
    void Wipe() noexcept { WipeMemory(units_.data(), units_.size() * sizeof(T)); }

 private:
    std::vector<T, WipingAllocator<T>> units_;
};

using SecretBytes = Secret<unsigned char>;
using SecretText = Secret<char>;  // UTF-8

}  // namespace kelvor
