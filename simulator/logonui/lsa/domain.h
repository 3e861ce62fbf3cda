#pragma once

#include <windows.h>

#include <ntsecapi.h>
#include <wincrypt.h>

#include <string>

namespace kelvor::simulator {

// Who decides over a logon that the local security authority has prepared.
class Domain {
 public:
    Domain() = default;
    Domain(const Domain&) = delete;
    Domain& operator=(const Domain&) = delete;
    virtual ~Domain() = default;

    // The NTSTATUS for the account `upn`, with the certificate of the card in the reader; the card
    // signs for it, or not.
    virtual NTSTATUS LogOn(const CERT_CONTEXT& certificate, const std::wstring& upn) = 0;
};

}  // namespace kelvor::simulator
