#pragma once

#include <string>
#include <vector>

#include "trust/faults/run.h"

namespace kelvor::trust {

// How a sign-in ended that something failed in.
enum class Ending { kAccepted, kRefused };

struct Judgement {
    Ending ending = Ending::kRefused;
    std::vector<std::string> problems;  // nothing: as it has to be
};

// Judges a run with a fault by what it may lead to: a logon that is handed over whole and disarmed
// afterwards, or a refusal whose text is about what failed. `undisturbed` is the same road without
// a fault.
Judgement Judge(const Fault& fault, const RunRecord& record, const RunRecord& undisturbed);

// What is wrong with an undisturbed run; nothing when it is as the road says.
std::vector<std::string> JudgeUndisturbed(const Road& road, const RunRecord& record);

// A wide text in UTF-8.
std::string Narrow(const std::wstring& text);

}  // namespace kelvor::trust
