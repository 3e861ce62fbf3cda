#include "cardservice/fault_plan.h"

namespace kelvor::simulator {

FaultPlan::FaultPlan(std::vector<FaultWorld> faults)
{
    for (FaultWorld& fault : faults) {
        entries_.push_back({std::move(fault)});
    }
}

std::optional<FaultWorld> FaultPlan::Next(const std::string& command)
{
    return lock_.With([&] {
        std::optional<FaultWorld> due;
        for (Entry& entry : entries_) {
            if (!entry.fault.command.empty() && entry.fault.command != command) {
                continue;
            }
            ++entry.seen;
            const bool isTurn = entry.fault.occurrence == 0 || entry.fault.occurrence == entry.seen;
            if (isTurn && !due) {
                due = entry.fault;
            }
        }
        return due;
    });
}

}  // namespace kelvor::simulator
