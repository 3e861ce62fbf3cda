#pragma once

#include <functional>
#include <string>
#include <vector>

#include "check/checks.h"

namespace kelvor::admin {

// A finding, and what the module's own functions would have logged while it was made.
struct Examined {
    Finding finding;
    std::vector<std::string> log;
};

// Runs the checks in their order and hands out each finding as soon as it is there. The log of a
// check that has several findings goes with the first.
void Examine(std::span<const Check> checks, Circumstances& circumstances,
             const std::function<void(const Examined&)>& found);

// The worst of all findings; what was skipped does not count.
class Outcome {
 public:
    void Add(Verdict verdict) noexcept;
    int Failures() const noexcept { return failures_; }
    int Warnings() const noexcept { return warnings_; }
    // 0 all is well, 1 warnings, 3 broken.
    int ExitCode() const noexcept;
    const char* Word() const noexcept;

 private:
    int failures_ = 0;
    int warnings_ = 0;
};

}  // namespace kelvor::admin
