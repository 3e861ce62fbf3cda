#pragma once

#include <windows.h>

#include <string>

namespace kelvor {

// Questions to the directory. Each blocks for as long as the directory takes, which may be many
// seconds; any thread but LogonUI's.

// An answer after this long is worth a word to the user.
inline constexpr DWORD kSlowDirectoryMs = 6000;

// Locates a domain controller of this PC's domain. Answers ERROR_SUCCESS, with the controller's
// name where one was told, or the system's error.
DWORD LocateDomainController(std::wstring& name);

// The UPN of the account DOMAIN\user; empty when the directory cannot map the name.
std::wstring UpnOfAccount(const std::wstring& samName);

}  // namespace kelvor
