#pragma once

#include <string>
#include <vector>

namespace kelvor {

// The KERB_SMARTCARD_CSP_INFO block (ntsecapi.h) that tells the Kerberos package which card to use,
// in which reader, by which container and provider. Name offsets count characters.
std::vector<unsigned char> BuildCspInfo(const std::wstring& card, const std::wstring& reader,
                                        const std::wstring& container, const std::wstring& csp);

}  // namespace kelvor
