#pragma once

#include <string>
#include <vector>

namespace kelvor::admin {

enum class Verdict {
    kOk,
    kWarn,  // a sign-in may succeed, but something is not as it should be
    kFail,  // no sign-in succeeds like this
    kSkip,  // could not be looked at, for a reason that is told
};

// What one check saw. Texts are UTF-8.
struct Finding {
    std::string check;  // its name, such as "registration"
    Verdict verdict = Verdict::kOk;
    std::string seen = {};
    std::string remedy = {};  // what to do about it; empty when there is nothing to do
};
using Findings = std::vector<Finding>;

}  // namespace kelvor::admin
