#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace kelvor::trust {

// Numbers that look random and are the same for the same seed and index, on every machine and with
// every compiler: each try has a generator of its own, so that it can be repeated alone. The
// sequence is splitmix64 (Steele, Lea, Flood 2014, "Fast splittable pseudorandom number
// generators").
class Random {
 public:
    Random(std::uint64_t seed, std::uint64_t index) noexcept : state_(seed)
    {
        state_ = Next() + index;
    }

    std::uint64_t Next() noexcept
    {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }

    // 0 to `bound` - 1; 0 for a bound of 0.
    std::size_t Below(std::size_t bound) noexcept
    {
        return bound == 0 ? 0 : static_cast<std::size_t>(Next() % bound);
    }

    // True once in `times` calls, on average.
    bool OneIn(std::size_t times) noexcept { return Below(times) == 0; }

    // One of the elements of an array or a vector that is not empty.
    template <class Range>
    const auto& Pick(const Range& range) noexcept
    {
        return *std::next(std::begin(range), static_cast<std::ptrdiff_t>(Below(std::size(range))));
    }

 private:
    std::uint64_t state_;
};

}  // namespace kelvor::trust
