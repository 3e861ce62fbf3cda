#pragma once

#include <string>

#include "arm_failure.h"
#include "support/stage.h"

namespace kelvor::test {

// Whether the sign-in ended while its logon buffer was built: the log has the result (as in
// "0x80070458") and the reason, the tile shows the reason, and there is nothing to collect. The
// reason is UTF-8.
inline bool BuildFailed(Stage& stage, const std::string& result, const std::string& reason)
{
    return stage.log.Has("ERROR", "GetSerialization: BuildCertificateLogon failed hr=" + result +
                                      " (" + reason + ")") &&
           stage.Status() == Wide("Sign-in failed: " + reason) && !stage.AskTileCount().autoLogon;
}

// Whether a build ended with a logon that LogonUI may collect.
inline bool BuildSucceeded(Stage& stage)
{
    return stage.log.HasBeginning("INFO", "sclogon: built KERB_CERTIFICATE_LOGON") &&
           stage.AskTileCount().autoLogon;
}

}  // namespace kelvor::test
