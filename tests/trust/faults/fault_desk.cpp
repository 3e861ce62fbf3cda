#include "trust/faults/fault_desk.h"

#include <algorithm>

namespace kelvor::trust {
namespace {

bool Holds(unsigned bits, std::size_t bit) noexcept
{
    return (bits >> bit & 1U) != 0;
}

}  // namespace

FaultDesk& FaultDesk::Mine()
{
    static FaultDesk desk;
    return desk;
}

void FaultDesk::Begin(std::size_t functions, std::optional<Fault> fault)
{
    lock_.With([&] {
        threads_ = {GetCurrentThreadId()};
        calls_.assign(functions, {});
        fault_ = fault;
        struck_ = false;
    });
}

void FaultDesk::Disarm()
{
    lock_.With([&] { fault_.reset(); });
}

void FaultDesk::NumberThread(DWORD id)
{
    lock_.With([&] {
        std::ranges::replace(threads_, id, DWORD{0});  // of a thread that is gone
        threads_.push_back(id);
    });
}

std::optional<std::size_t> FaultDesk::Enter(std::size_t function, unsigned possible,
                                            unsigned lasting)
{
    return lock_.With([&]() -> std::optional<std::size_t> {
        const std::size_t thread = NumberOf(GetCurrentThreadId());
        std::vector<unsigned>& calls = calls_[function][thread];
        const std::size_t call = calls.size();
        calls.push_back(possible);
        if (!fault_ || fault_->function != function || !Holds(possible, fault_->way)) {
            return std::nullopt;
        }
        const bool now = !struck_ && fault_->thread == thread && fault_->call == call;
        const bool again = struck_ && Holds(lasting, fault_->way);
        struck_ = struck_ || now;
        return now || again ? std::optional(fault_->way) : std::nullopt;
    });
}

bool FaultDesk::Struck() const
{
    return lock_.With([&] { return struck_; });
}

std::vector<CallsByThread> FaultDesk::Calls() const
{
    return lock_.With([&] { return calls_; });
}

std::size_t FaultDesk::NumberOf(DWORD id) const noexcept
{
    const auto place = std::ranges::find(threads_, id);
    const auto number = static_cast<std::size_t>(place - threads_.begin());
    return place == threads_.end() ? kOtherThread : std::min(number, kOtherThread);
}

}  // namespace kelvor::trust
