#include <windows.h>

#include "check/checks.h"
#include "console/code_text.h"
#include "sclogon/auth_package.h"

namespace kelvor::admin {

Findings CheckKerberos(Circumstances& /*circumstances*/)
{
    Finding finding{.check = "Kerberos"};
    ULONG package = 0;
    const HRESULT hr = RetrieveAuthPackage(package);
    if (SUCCEEDED(hr)) {
        finding.seen = "LSA has the package, number " + std::to_string(package);
        return {finding};
    }
    finding.verdict = Verdict::kFail;
    finding.seen =
        "LSA does not give the package (" + HexCode(static_cast<std::uint32_t>(hr)) + ")";
    finding.remedy =
        "Restart the PC. If it stays so, look for events of LsaSrv in the System log, and for other "
        "makers' authentication packages.";
    return {finding};
}

}  // namespace kelvor::admin
