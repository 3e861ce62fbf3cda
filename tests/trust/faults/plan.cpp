#include "trust/faults/plan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "trust/faults/import_tables.h"
#include "trust/support/random.h"

namespace kelvor::trust {
namespace {

// The log writes its numbers and narrow texts letter by letter. On the first road each letter fails
// once, on the others one of so many.
constexpr std::size_t kLettersApart = 50;

bool IsSwept(const Fault& fault)
{
    const std::string name = FallibleFunctions().at(fault.function)->Name();
    const std::vector<std::string>& swept = Roads().at(fault.road).sweeps;
    if (!swept.empty() && std::ranges::count(swept, name) == 0) {
        return false;
    }
    return name != "fputc" || fault.road == 0 || fault.call % kLettersApart == 0;
}

void AddCalls(std::size_t road, std::size_t function, const CallsByThread& calls,
              std::vector<Fault>& faults)
{
    const std::size_t ways = FallibleFunctions()[function]->Ways();
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        for (std::size_t call = 0; call < calls[thread].size(); ++call) {
            for (std::size_t way = 0; way < ways; ++way) {
                const Fault fault{road, function, way, thread, call};
                if ((calls[thread][call] >> way & 1U) != 0 && IsSwept(fault)) {
                    faults.push_back(fault);
                }
            }
        }
    }
}

}  // namespace

std::vector<Fault> AllFaults(const std::vector<RunRecord>& undisturbed, std::uint64_t seed)
{
    std::vector<Fault> faults;
    for (std::size_t road = 0; road < undisturbed.size(); ++road) {
        for (std::size_t function = 0; function < FallibleFunctions().size(); ++function) {
            AddCalls(road, function, undisturbed[road].calls[function], faults);
        }
    }
    // By a number of its own each, so that one fault more or less leaves the others in their
    // places.
    std::ranges::sort(faults, {}, [&](const Fault& fault) {
        return std::pair(Random(seed, fault.Number()).Next(), fault.Number());
    });
    std::set<std::pair<std::size_t, std::size_t>> seen;
    std::stable_partition(faults.begin(), faults.end(), [&](const Fault& fault) {
        return seen.insert({fault.function, fault.way}).second;
    });
    return faults;
}

std::string Words(const Fault& fault)
{
    const Fallible& function = *FallibleFunctions().at(fault.function);
    return std::string(Roads().at(fault.road).name) + ": " + function.Name() + ", call " +
           std::to_string(fault.call) + " of thread " + std::to_string(fault.thread) + ", " +
           function.WayName(fault.way) + " (--replay " + std::to_string(fault.Number()) + ")";
}

}  // namespace kelvor::trust
