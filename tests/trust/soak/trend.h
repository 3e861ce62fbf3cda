#pragma once

#include <cstddef>
#include <vector>

namespace kelvor::trust {

// Measures taken over time, and whether they stay where they are.
class Trend {
 public:
    void Add(double when, double measure);
    // Of the straight line that fits the measures best, without those of the first fifth: what is
    // made once is made there.
    double Slope() const;
    // How much that line rises from its first measure to its last.
    double Growth() const;
    double First() const { return measures_.front().value; }
    double Last() const { return measures_.back().value; }

 private:
    struct Measure {
        double when;
        double value;
    };
    std::size_t Begin() const { return measures_.size() / 5; }

    std::vector<Measure> measures_;
};

}  // namespace kelvor::trust
