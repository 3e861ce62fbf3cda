#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lock.h"

namespace kelvor::simulator {

// One call that the module made of a stand-in.
struct Call {
    std::string function;
    DWORD threadId = 0;
    std::wstring argument;  // what the stand-in found worth keeping; often empty
};

// Which calls a stand-in received, and which of them are to fail. Any thread.
class CallBook {
 public:
    static constexpr std::size_t kAlways = static_cast<std::size_t>(-1);

    // Notes a call by the current thread. Returns the code it must fail with, nothing when it is
    // to be carried out.
    std::optional<DWORD> Enter(const char* function, std::wstring argument = {});

    // Lets the next `times` calls of `function` fail with `code`, in the function's own coin (an
    // error code it returns, or the last error it sets). Replaces an earlier order for it.
    void Fail(const char* function, DWORD code, std::size_t times = kAlways);
    // Lets the `ordinal`-th call from now on (0 is the next) fail with `code`, and those after it
    // up to `times` of them.
    void FailAfter(const char* function, std::size_t ordinal, DWORD code, std::size_t times = 1);
    void Succeed(const char* function);

    std::vector<Call> Calls() const;
    std::vector<Call> Calls(const char* function) const;
    std::size_t Count(const char* function) const;
    std::size_t CountOf(DWORD threadId, const char* function) const;
    void Forget();

 private:
    struct Order {
        std::string function;
        std::size_t skip = 0;
        std::size_t times = 0;
        DWORD code = 0;
    };
    void Replace(Order order);

    Lock lock_;
    std::vector<Call> calls_;
    std::vector<Order> orders_;
};

}  // namespace kelvor::simulator
