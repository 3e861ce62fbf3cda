#pragma once

#include <string>

namespace kelvor {

// Finds the first certificate that the card offers through the provider `csp` for smart-card logon
// and that has a key container. `upn`, which may be null, gets the certificate's user principal
// name, empty when it has none. False when there is no such certificate or the card cannot be read.
bool FindLogonCertificate(const std::wstring& csp, std::wstring& container, std::wstring* upn);

}  // namespace kelvor
