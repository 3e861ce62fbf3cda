#pragma once

#include <set>
#include <string>

#include "violations.h"

namespace kelvor::trust {

// The phases that a sign-in may be in, as far as somebody outside the tile can tell.
using Phases = unsigned;
inline constexpr Phases kIdle = 1;
inline constexpr Phases kInFlight = 2;
inline constexpr Phases kCompleted = 4;
inline constexpr Phases kAnyPhase = kIdle | kInFlight | kCompleted;

// The PINs that a tile may hold, each known by its number; 0 is none.
class Pins {
 public:
    void Become(unsigned number) { possible_ = {number}; }
    // From now on, whatever is typed.
    void StayUnknown() { any_ = true; }
    void Perhaps(unsigned number) { possible_.insert(number); }
    bool MayBe(unsigned number) const { return any_ || possible_.contains(number); }

 private:
    std::set<unsigned> possible_ = {0};
    bool any_ = false;
};

// What a tile may answer next. Every answer narrows what it may be; one that does not fit is a
// violation, after which anything is expected again.
class PhaseExpectation {
 public:
    explicit PhaseExpectation(Violations& violations) : violations_(&violations) {}

    void BecomeUnknown() { possible_ = kAnyPhase; }
    bool MayBe(Phases phases) const { return (possible_ & phases) != 0; }
    bool IsCertainly(Phases phases) const { return (possible_ & ~phases) == 0; }

    // The tile showed itself in one of these phases.
    void Saw(Phases phases, const char* how);
    // A sign-in was begun on a worker, which may be anywhere by now.
    void Began(const char* how);
    // No worker of the tile lives any more.
    void WorkerEnded();
    // The worker goes on by itself: a sign-in that may be in flight may soon be anywhere.
    void WorkerRuns();
    // The worker is held in the middle of its sign-in.
    void WorkerHeld() { Saw(kInFlight, "its worker is held"); }
    void Collected(const char* how);

 private:
    Violations* violations_;
    Phases possible_ = kIdle;
};

}  // namespace kelvor::trust
