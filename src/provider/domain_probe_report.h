#pragma once

#include "provider/domain_probe.h"
#include "provider/status_line.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

// Tells the user and the log once what a tile's probe has found so far. Says nothing, and says it
// later instead, while a sign-in runs or the status line and the picker hold something that matters
// more. Called at every poll of the key watch.
void ReportDomainProbe(const DomainProbeSlot& probes, const SignInSlot& slot,
                       const TileFields& fields, StatusLine& status);

}  // namespace kelvor
