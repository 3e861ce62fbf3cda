#pragma once

#include <span>

#include "check/circumstances.h"
#include "check/finding.h"

namespace kelvor::admin {

// A step of the examination. Changes nothing on the PC, arms no card and asks the security key for
// no assertion.
using Check = Findings (*)(Circumstances& circumstances);

// All of them, in the order in which a sign-in needs what they look at.
std::span<const Check> AllChecks() noexcept;

// The COM class, and the module's place in Windows' list of credential providers.
Findings CheckRegistration(Circumstances& circumstances);
// The registered DLL: there, of the tool's version, signed.
Findings CheckModuleFile(Circumstances& circumstances);
Findings CheckKeyLibrary(Circumstances& circumstances);
// Each of the nine values.
Findings CheckSettings(Circumstances& circumstances);
Findings CheckCardService(Circumstances& circumstances);
Findings CheckReader(Circumstances& circumstances);
Findings CheckCertificate(Circumstances& circumstances);
Findings CheckKerberos(Circumstances& circumstances);
// The domain controller, and what it makes of the account.
Findings CheckDirectory(Circumstances& circumstances);

}  // namespace kelvor::admin
