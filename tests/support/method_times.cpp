#include "support/method_times.h"

#include <algorithm>

#include "lock.h"

namespace kelvor::test {
namespace {

thread_local MethodTimer* innermost = nullptr;

struct Book {
    Lock lock;
    std::map<std::string, MethodFigures> figures;  // under the lock
};

Book& TheBook()
{
    static Book book;
    return book;
}

}  // namespace

std::map<std::string, MethodFigures> MethodTimes()
{
    Book& book = TheBook();
    return book.lock.With([&] { return book.figures; });
}

MethodTimer::MethodTimer(const char* method) noexcept
    : method_(method), outer_(std::exchange(innermost, this)), beginUs_(NowUs())
{
}

MethodTimer::~MethodTimer()
{
    const std::uint64_t tookUs = NowUs() - beginUs_;
    innermost = outer_;
    Book& book = TheBook();
    book.lock.With([&] {
        MethodFigures& figures = book.figures[method_];
        ++figures.calls;
        figures.longestUs = std::max(figures.longestUs, tookUs);
        figures.longestOwnUs = std::max(figures.longestOwnUs, tookUs - std::min(tookUs, waitedUs_));
    });
}

const char* MethodTimer::Current() noexcept
{
    return innermost != nullptr ? innermost->method_ : nullptr;
}

void MethodTimer::Waited(std::uint64_t us) noexcept
{
    for (MethodTimer* timer = innermost; timer != nullptr; timer = timer->outer_) {
        timer->waitedUs_ += us;
    }
}

std::uint64_t NowUs() noexcept
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER now;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&now);
    return static_cast<std::uint64_t>(now.QuadPart) * 1'000'000U /
           static_cast<std::uint64_t>(frequency.QuadPart);
}

}  // namespace kelvor::test
