#include "sclogon/preflight.h"

#include <lmerr.h>

#include "diag/log.h"
#include "ordinal_text.h"
#include "settings/settings.h"

namespace kelvor {
HRESULT PreflightIdentityCheck(const std::wstring& resolvedUpn, const std::wstring& container,
                               std::wstring& certificateUpn, std::wstring& reason)
{
    if (resolvedUpn.empty()) {
        LogInfo("sclogon: pre-flight skipped (resolvedUpn=%d certUpn=%d, pinnedContainer=%d).", 0,
                !certificateUpn.empty(), !ReadSettingString(kContainerValue, L"").empty());
        return S_OK;
    }
    bool fromHint = false;
    if (certificateUpn.empty()) {
        certificateUpn = ReadSettingString(kContainerUpnValue, L"");
        fromHint = !certificateUpn.empty();
    }
    if (certificateUpn.empty()) {
        LogWarn(
            "sclogon: pre-flight could not verify the card's identity (tap resolved to '%ls'; no ContainerUpn hint and no discovery read) - continuing; a wrong card fails closed on the pinned container '%ls'.",
            resolvedUpn, container);
        return S_OK;
    }
    if (EqualIgnoringCase(resolvedUpn, certificateUpn)) {
        LogInfo("sclogon: pre-flight OK - the tapped key and the card %ls are both '%ls'.",
                fromHint ? L"hint" : L"cert", certificateUpn);
        return S_OK;
    }
    LogError(
        "sclogon: UPN MISMATCH - the tap resolved to '%ls' but the card %ls is for '%ls'. The per-user card swap did not take effect for this logon.",
        resolvedUpn, fromHint ? L"the service loaded" : L"in the reader", certificateUpn);
    reason = L"the wrong card is loaded for your account — sign out and try again";
    return HRESULT_FROM_WIN32(NERR_BadUsername);
}

}  // namespace kelvor
