#pragma once

#include <string>
#include <vector>

#include "trust/faults/run.h"

namespace kelvor::trust {

// All faults that can be put into the roads whose undisturbed runs are given: each call of each
// function in each way. In an order that the seed alone decides, but for the first of them: of each
// function each way is there once before any is there again, so that a beginning of the list is a
// sample of everything.
std::vector<Fault> AllFaults(const std::vector<RunRecord>& undisturbed, std::uint64_t seed);

// A fault in words.
std::string Words(const Fault& fault);

}  // namespace kelvor::trust
