#include "tile_expectation.h"

namespace kelvor::trust {
namespace {

std::string Names(Phases phases)
{
    std::string names;
    for (const auto& [phase, name] :
         {std::pair(kIdle, "idle"), {kInFlight, "in flight"}, {kCompleted, "completed"}}) {
        if ((phases & phase) != 0) {
            names += (names.empty() ? "" : " or ") + std::string(name);
        }
    }
    return names;
}

}  // namespace

void PhaseExpectation::Saw(Phases phases, const char* how)
{
    if (!MayBe(phases)) {
        violations_->Add("a sign-in that was " + Names(possible_) + " is " + Names(phases) + ": " +
                         how);
        BecomeUnknown();
    }
    possible_ &= phases;
}

void PhaseExpectation::Began(const char* how)
{
    Saw(kIdle, how);
    possible_ = kAnyPhase;
}

void PhaseExpectation::WorkerEnded()
{
    if (MayBe(kInFlight)) {
        possible_ = kIdle | kCompleted;
    }
}

void PhaseExpectation::WorkerRuns()
{
    if (MayBe(kInFlight)) {
        BecomeUnknown();
    }
}

void PhaseExpectation::Collected(const char* how)
{
    Saw(kCompleted, how);
    possible_ = kIdle;
}

}  // namespace kelvor::trust
