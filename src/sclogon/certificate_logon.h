#pragma once

#include <windows.h>

#include <cstddef>
#include <string_view>
#include <vector>

#include "sclogon/logon_handover.h"

namespace kelvor {

// Where the variable parts of a packed logon begin, in bytes from the buffer's start.
struct CertificateLogonOffsets {
    std::size_t domain = 0;
    std::size_t user = 0;
    std::size_t pin = 0;
    std::size_t cspInfo = 0;
    std::size_t end = 0;  // the buffer's size
};
CertificateLogonOffsets MeasureCertificateLogon(std::size_t domainChars, std::size_t userChars,
                                                std::size_t pinChars, std::size_t cspInfoBytes);

// Packs a KERB_CERTIFICATE_LOGON (ntsecapi.h) into one self-relative block of the COM task
// allocator: what are pointers in the structure are offsets from its start. Empty when memory is
// short.
TaskMemory<BYTE> PackCertificateLogon(std::wstring_view domain, std::wstring_view user,
                                      std::wstring_view pin,
                                      const std::vector<unsigned char>& cspInfo);

}  // namespace kelvor
