#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kelvor::test {

inline constexpr const char* kSmartCardLogonUsage = "1.3.6.1.4.1.311.20.2.2";
inline constexpr const char* kSubjectAlternativeNameId = "2.5.29.17";
inline constexpr const char* kKeyUsageId = "2.5.29.15";
inline constexpr const char* kExtendedKeyUsageId = "2.5.29.37";
inline constexpr const char* kClientAuthenticationUsage = "1.3.6.1.5.5.7.3.2";

// What a test certificate says.
struct CertificatePlan {
    std::string commonName = "Alice Example";
    std::optional<std::string> upn = "alice@corp.example";  // UTF-8; nothing: no such name
    // Nothing: no usage extension at all; an empty list: the extension with no usage in it.
    std::optional<std::vector<std::string>> usages =
        std::vector<std::string>{kClientAuthenticationUsage, kSmartCardLogonUsage};
    // Further extensions as they are to stand there: whatever their values hold.
    struct RawExtension {
        std::string id;
        std::vector<unsigned char> value;
    };
    std::vector<RawExtension> rawExtensions = {};
};

// A self-signed X.509 certificate (ECDSA P-256 with SHA-256), in DER.
std::vector<unsigned char> MakeCertificate(const CertificatePlan& plan = {});

}  // namespace kelvor::test
