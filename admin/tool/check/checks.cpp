#include "check/checks.h"

namespace kelvor::admin {

std::span<const Check> AllChecks() noexcept
{
    static constexpr Check kChecks[] = {
        CheckRegistration, CheckModuleFile,  CheckKeyLibrary, CheckSettings,  CheckCardService,
        CheckReader,       CheckCertificate, CheckKerberos,   CheckDirectory,
    };
    return kChecks;
}

}  // namespace kelvor::admin
