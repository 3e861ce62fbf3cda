#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace kelvor::test {

// How often a COM method of the module was called in this process, and how long it took at most.
struct MethodFigures {
    std::size_t calls = 0;
    std::uint64_t longestUs = 0;
    std::uint64_t longestOwnUs = 0;  // without the waits that were noted
};
// By method, as far as the stage, its tiles and Timed know of the calls. Any thread.
std::map<std::string, MethodFigures> MethodTimes();

// Measures one call. Time that the call spends in a wait that is noted as such does not count.
class MethodTimer {
 public:
    explicit MethodTimer(const char* method) noexcept;
    ~MethodTimer();
    MethodTimer(const MethodTimer&) = delete;
    MethodTimer& operator=(const MethodTimer&) = delete;

    // The innermost method that this thread is calling; null outside all of them.
    static const char* Current() noexcept;
    // So much of the time of every call that this thread is making was a noted wait.
    static void Waited(std::uint64_t us) noexcept;

 private:
    const char* method_;
    MethodTimer* outer_;
    std::uint64_t beginUs_;
    std::uint64_t waitedUs_ = 0;
};

// Microseconds of a clock that only runs forward.
std::uint64_t NowUs() noexcept;

template <class Call>
auto Timed(const char* method, Call&& call)
{
    const MethodTimer timer(method);
    return std::forward<Call>(call)();
}

}  // namespace kelvor::test
