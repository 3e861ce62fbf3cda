#pragma once

#include <optional>
#include <string>

#include "logonui/scenario.h"
#include "logonui/session.h"
#include "logonui/step.h"

namespace kelvor::simulator {

// Carries one step out. Nothing when all went as the step says, else what differed. The steps that
// belong to the prompt alone are none of its business and differ always.
std::optional<std::string> RunStep(Session& session, const Step& step);

// Plays a scenario to its end or to the first difference, which is written to the transcript with
// its line. Secrets of the scenario are wiped as soon as they have been used.
bool RunScenario(Session& session, Scenario& scenario, const std::string& fileName,
                 Transcript& transcript);

}  // namespace kelvor::simulator
