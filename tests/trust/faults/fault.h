#pragma once

#include <cstddef>
#include <cstdint>

namespace kelvor::trust {

// Threads as a run numbers them: LogonUI's, then those of the module in the order in which they
// were started; the last number stands for the system's own, such as the thread pool's.
inline constexpr std::size_t kLogonUiThread = 0;
inline constexpr std::size_t kOtherThread = 15;
inline constexpr std::size_t kThreads = kOtherThread + 1;

// One call of one imported function that is to fail in one way. All are indices: of the roads, of
// the functions that can fail, of a function's ways, of the calls that a thread makes of it.
struct Fault {
    std::size_t road = 0;
    std::size_t function = 0;
    std::size_t way = 0;
    std::size_t thread = 0;
    std::size_t call = 0;

    // The number by which a fault is replayed, and back.
    std::uint64_t Number() const noexcept
    {
        return (((function * 100 + way) * 100 + road) * 100 + thread) * 100'000 + call;
    }
    static Fault OfNumber(std::uint64_t number) noexcept
    {
        Fault fault;
        fault.call = number % 100'000;
        fault.thread = number / 100'000 % 100;
        fault.road = number / 10'000'000 % 100;
        fault.way = number / 1'000'000'000 % 100;
        fault.function = number / 100'000'000'000;
        return fault;
    }
};

}  // namespace kelvor::trust
