#pragma once

#include <windows.h>

#include <ntsecapi.h>

namespace kelvor::simulator {

// The NTSTATUS that a PC makes of an error of its Kerberos domain, by the error's number in RFC
// 4120 or RFC 4556; docs/kdc.md tells why. STATUS_LOGON_FAILURE for a number that says nothing of
// its own.
NTSTATUS StatusOfKerberosError(int error) noexcept;

}  // namespace kelvor::simulator
