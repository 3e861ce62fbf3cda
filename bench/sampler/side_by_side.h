#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kelvor::bench {

// One of those that are compared. `sample` does the work once and answers its measure; what it does
// before and after the measured part does not count.
struct Side {
    std::string name;
    std::function<double()> sample;
};

// What a side was measured at, one number a sample, in the order in which they were taken.
struct Series {
    std::string side;
    std::vector<double> samples;
};

struct Plan {
    std::size_t warmUp = 5;
    std::size_t samples = 100;
};

// Lets the sides take turns, so that whatever else the machine does falls on all of them alike; who
// begins changes from round to round. The rounds of the warm-up are not kept.
std::vector<Series> SideBySide(const std::vector<Side>& sides, const Plan& plan);

// `work` once, for as many times as take about 200 µs together, as the microseconds of one.
std::function<double()> Batched(std::function<void()> work);

}  // namespace kelvor::bench
