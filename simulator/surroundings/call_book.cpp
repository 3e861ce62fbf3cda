#include "surroundings/call_book.h"

#include <algorithm>
#include <utility>

namespace kelvor::simulator {

std::optional<DWORD> CallBook::Enter(const char* function, std::wstring argument)
{
    return lock_.With([&]() -> std::optional<DWORD> {
        calls_.push_back({function, GetCurrentThreadId(), std::move(argument)});
        for (Order& order : orders_) {
            if (order.function != function) {
                continue;
            }
            if (order.skip > 0) {
                --order.skip;
                return std::nullopt;
            }
            if (order.times == 0) {
                return std::nullopt;
            }
            if (order.times != kAlways) {
                --order.times;
            }
            return order.code;
        }
        return std::nullopt;
    });
}

void CallBook::Fail(const char* function, DWORD code, std::size_t times)
{
    Replace({function, 0, times, code});
}

void CallBook::FailAfter(const char* function, std::size_t ordinal, DWORD code, std::size_t times)
{
    Replace({function, ordinal, times, code});
}

void CallBook::Succeed(const char* function)
{
    Replace({function, 0, 0, 0});
}

std::vector<Call> CallBook::Calls() const
{
    return lock_.With([&] { return calls_; });
}

std::vector<Call> CallBook::Calls(const char* function) const
{
    std::vector<Call> calls = Calls();
    std::erase_if(calls, [&](const Call& call) { return call.function != function; });
    return calls;
}

std::size_t CallBook::Count(const char* function) const
{
    return Calls(function).size();
}

std::size_t CallBook::CountOf(DWORD threadId, const char* function) const
{
    return lock_.With([&] {
        return static_cast<std::size_t>(std::ranges::count_if(calls_, [&](const Call& call) {
            return call.threadId == threadId && call.function == function;
        }));
    });
}

void CallBook::Forget()
{
    lock_.With([&] { calls_.clear(); });
}

void CallBook::Replace(Order order)
{
    lock_.With([&] {
        std::erase_if(orders_, [&](const Order& old) { return old.function == order.function; });
        orders_.push_back(std::move(order));
    });
}

}  // namespace kelvor::simulator
