#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "sampler/side_by_side.h"

namespace kelvor::bench {

// What bench.py reads: one line of JSON for each case of a row, all samples in it.
void Report(const std::string& row, const std::string& subject, const std::string& unit,
            const std::vector<Series>& series);

// The two sides did not do the same work: nothing is measured then.
class NotTheSameWork : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace kelvor::bench
