#pragma once

#include <windows.h>

#include <string>

namespace kelvor {

// Makes sure that the card is the one of the account that the security key stood for. Only a proven
// mismatch fails: the HRESULT of NERR_BadUsername, with `reason` for the user. When nothing can be
// compared the logon goes on, since a wrong card cannot open the pinned container. An empty
// `certificateUpn` is filled from the setting that tells whose container is pinned.
[[nodiscard]] HRESULT PreflightIdentityCheck(const std::wstring& resolvedUpn,
                                             const std::wstring& container,
                                             std::wstring& certificateUpn, std::wstring& reason);

}  // namespace kelvor
