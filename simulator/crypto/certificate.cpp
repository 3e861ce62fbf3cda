#include "crypto/certificate.h"

#include <cstdint>

#include "crypto/der.h"
#include "crypto/hash.h"

namespace kelvor::simulator {

namespace {

constexpr std::string_view kSha256WithRsa = "1.2.840.113549.1.1.11";  // RFC 8017
constexpr std::string_view kCommonName = "2.5.4.3";
constexpr std::string_view kKeyUsage = "2.5.29.15";
constexpr std::string_view kSubjectAlternativeName = "2.5.29.17";
constexpr std::string_view kBasicConstraints = "2.5.29.19";
constexpr std::string_view kExtendedKeyUsage = "2.5.29.37";
constexpr std::string_view kUpnName = "1.3.6.1.4.1.311.20.2.3";
constexpr std::string_view kKerberosName = "1.3.6.1.5.2.2";  // RFC 4556

constexpr unsigned char kVersion3[] = {2};
constexpr unsigned char kRequestVersion[] = {0};
constexpr int kAuthorityDays = 3650;

Bytes SignatureAlgorithm()
{
    return DerSequence({DerObjectId(kSha256WithRsa), DerNull()});
}

Bytes Name(const std::string& commonName)
{
    return DerSequence({DerSet({DerSequence({DerObjectId(kCommonName), DerUtf8(commonName)})})});
}

Bytes DayFromToday(int days)
{
    constexpr std::int64_t kTicksPerDay = 24LL * 60 * 60 * 10'000'000;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::int64_t ticks =
        (static_cast<std::int64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime) +
        days * kTicksPerDay;
    const FILETIME then{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME utc{};
    FileTimeToSystemTime(&then, &utc);
    return DerTime(utc);
}

Bytes Extension(std::string_view objectId, bool isCritical, ByteView value)
{
    if (!isCritical) {
        return DerSequence({DerObjectId(objectId), DerOctetString(value)});
    }
    return DerSequence({DerObjectId(objectId), DerBoolean(true), DerOctetString(value)});
}

Bytes KeyUsage(unsigned char bits, unsigned char unusedBits)
{
    constexpr unsigned char kBitString = 0x03;
    const unsigned char content[] = {unusedBits, bits};
    return Extension(kKeyUsage, true, DerValue(kBitString, content));
}

Bytes Signed(const Bytes& toBeSigned, const RsaKey& key)
{
    return DerSequence(
        {toBeSigned, SignatureAlgorithm(), DerBitString(key.Sign(Sha256({ByteView(toBeSigned)})))});
}

struct Subject {
    std::string name;
    ByteView keyInfo;
    int firstDay;
    int lastDay;
};

Bytes Certificate(const Subject& subject, const Bytes& extensions, const std::string& issuerName,
                  const RsaKey& issuerKey)
{
    Bytes serialNumber = RandomBytes(16);
    serialNumber[0] = static_cast<unsigned char>((serialNumber[0] & 0x7F) | 0x40);
    const Bytes toBeSigned =
        DerSequence({DerExplicit(0, DerInteger(kVersion3)), DerInteger(serialNumber),
                     SignatureAlgorithm(), Name(issuerName),
                     DerSequence({DayFromToday(subject.firstDay), DayFromToday(subject.lastDay)}),
                     Name(subject.name), Bytes(subject.keyInfo.begin(), subject.keyInfo.end()),
                     DerExplicit(3, extensions)});
    return Signed(toBeSigned, issuerKey);
}

Bytes OtherName(std::string_view objectId, const Bytes& value)
{
    return DerExplicit(0, Concatenate({DerObjectId(objectId), DerExplicit(0, value)}));
}

// KRB5PrincipalName of RFC 4556.
Bytes KerberosName(std::string_view text)
{
    constexpr unsigned char kGeneralString = 0x1B;
    constexpr unsigned char kPrincipal[] = {1};
    const std::size_t at = text.find('@');
    const std::string_view realm = at == std::string_view::npos ? "" : text.substr(at + 1);
    const Bytes parts = DerSequence({DerValue(kGeneralString, ViewOf(text.substr(0, at)))});
    return DerSequence({DerExplicit(0, DerValue(kGeneralString, ViewOf(realm))),
                        DerExplicit(1, DerSequence({DerExplicit(0, DerInteger(kPrincipal)),
                                                    DerExplicit(1, parts)}))});
}

// The names of the subject; empty without any.
Bytes NamesExtension(const CertificatePlan& plan)
{
    constexpr unsigned char kSequence = 0x30;
    Bytes names;
    if (plan.upn) {
        names = OtherName(kUpnName, DerUtf8(*plan.upn));
    }
    if (!plan.kerberosName.empty()) {
        names = Concatenate({names, OtherName(kKerberosName, KerberosName(plan.kerberosName))});
    }
    return names.empty() ? names
                         : Extension(kSubjectAlternativeName, false, DerValue(kSequence, names));
}

}  // namespace

Bytes IssueCertificate(const CertificatePlan& plan, ByteView subjectKeyInfo,
                       const std::string& issuerName, const RsaKey& issuerKey)
{
    constexpr unsigned char kDigitalSignature = 0x80;
    constexpr unsigned char kSequence = 0x30;
    Bytes extensions = KeyUsage(kDigitalSignature, 7);
    if (!plan.usages.empty()) {
        Bytes usages;
        for (const std::string& usage : plan.usages) {
            usages = Concatenate({usages, DerObjectId(usage)});
        }
        extensions = Concatenate(
            {extensions, Extension(kExtendedKeyUsage, false, DerValue(kSequence, usages))});
    }
    extensions = Concatenate({extensions, NamesExtension(plan)});
    return Certificate({plan.commonName, subjectKeyInfo, plan.firstDay, plan.lastDay},
                       DerValue(kSequence, extensions), issuerName, issuerKey);
}

Bytes MakeAuthorityCertificate(const std::string& name, const RsaKey& key)
{
    constexpr unsigned char kSignsCertificatesAndLists = 0x06;
    const Bytes extensions =
        DerSequence({Extension(kBasicConstraints, true, DerSequence({DerBoolean(true)})),
                     KeyUsage(kSignsCertificatesAndLists, 1)});
    return Certificate({name, key.SubjectPublicKeyInfo(), -1, kAuthorityDays}, extensions, name,
                       key);
}

Bytes MakeCertificateRequest(const std::string& commonName, const RsaKey& key)
{
    return Signed(DerSequence({DerInteger(kRequestVersion), Name(commonName),
                               key.SubjectPublicKeyInfo(), DerExplicit(0, {})}),
                  key);
}

}  // namespace kelvor::simulator
