#pragma once

// Takes the certificate logon buffer of the sign-in apart the way the Kerberos package has to: as
// bytes from another process, of which nothing is believed before it is checked. Needs no Windows
// header; the layout is that of KERB_CERTIFICATE_LOGON and KERB_SMARTCARD_CSP_INFO in ntsecapi.h
// for 64-bit callers, self-relative.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelvor::simulator {

// The smart card that is to sign, as the buffer names it.
struct CardReference {
    std::uint32_t messageType = 0;  // 1
    std::uint64_t contextInformation = 0;
    std::uint32_t flags = 0;
    std::uint32_t keySpec = 0;  // 1: AT_KEYEXCHANGE
    std::wstring card;
    std::wstring reader;
    std::wstring container;
    std::wstring csp;
};

struct CertificateLogon {
    std::uint32_t messageType = 0;  // 13: KerbCertificateLogon
    std::wstring domain;
    std::wstring user;
    std::size_t pinChars = 0;  // the PIN itself is not taken out of the buffer
    std::uint32_t flags = 0;
    CardReference card;
};

// Decodes the buffer, or says in `problem` what is wrong with it. Unpaired surrogates are kept.
std::optional<CertificateLogon> DecodeCertificateLogon(std::span<const unsigned char> buffer,
                                                       std::string& problem);

// The decoded buffer for a reader: one UTF-8 line each.
std::vector<std::string> DescribeCertificateLogon(const CertificateLogon& logon,
                                                  std::size_t sizeBytes);

}  // namespace kelvor::simulator
