#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "crypto/bytes.h"
#include "crypto/rsa.h"

namespace kelvor::simulator {

inline constexpr const char* kSmartCardLogonUsage = "1.3.6.1.4.1.311.20.2.2";
inline constexpr const char* kClientAuthenticationUsage = "1.3.6.1.5.5.7.3.2";

// What a certificate for an end entity says. Texts are UTF-8.
struct CertificatePlan {
    std::string commonName;
    std::optional<std::string> upn;   // otherName 1.3.6.1.4.1.311.20.2.3
    std::string kerberosName;         // name@realm, RFC 4556, section 3.2.2; empty: none
    std::vector<std::string> usages;  // none: no extended key usage at all
    int firstDay = -1;                // valid from this many days after today
    int lastDay = 365;
};

// A certificate (X.509 version 3, SHA-256 with RSA) for the public key `subjectKeyInfo`, in DER.
Bytes IssueCertificate(const CertificatePlan& plan, ByteView subjectKeyInfo,
                       const std::string& issuerName, const RsaKey& issuerKey);

// The self-signed certificate of an authority, valid for ten years.
Bytes MakeAuthorityCertificate(const std::string& name, const RsaKey& key);

// A certificate request (PKCS #10, RFC 2986) for the key, in DER.
Bytes MakeCertificateRequest(const std::string& commonName, const RsaKey& key);

}  // namespace kelvor::simulator
