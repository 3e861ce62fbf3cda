#pragma once

#include <windows.h>

namespace kelvor {

// Asks LSA for the number of the Kerberos package. On failure `package` is 0 and the result is
// LSA's NTSTATUS as an HRESULT (HRESULT_FROM_NT).
[[nodiscard]] HRESULT RetrieveAuthPackage(ULONG& package);

}  // namespace kelvor
