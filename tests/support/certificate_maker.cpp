#include "support/certificate_maker.h"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>
#include <string_view>

namespace kelvor::test {
namespace {

using Bytes = std::vector<unsigned char>;

// Tags of X.690.
constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kBitString = 0x03;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kObjectId = 0x06;
constexpr unsigned char kUtf8String = 0x0C;
constexpr unsigned char kUtcTime = 0x17;
constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kSet = 0x31;
constexpr unsigned char kContext0 = 0xA0;
constexpr unsigned char kContext3 = 0xA3;

constexpr const char* kUserPrincipalName = "1.3.6.1.4.1.311.20.2.3";
constexpr const char* kCommonName = "2.5.4.3";
constexpr const char* kEcdsaWithSha256 = "1.2.840.10045.4.3.2";
constexpr const char* kEcPublicKey = "1.2.840.10045.2.1";
constexpr const char* kPrime256v1 = "1.2.840.10045.3.1.7";

Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes joined;
    for (const Bytes& part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

Bytes Element(unsigned char tag, const Bytes& content)
{
    Bytes length;
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<unsigned char>(rest));
    }
    if (content.size() < 0x80) {
        length = {static_cast<unsigned char>(content.size())};
    } else {
        length.insert(length.begin(), static_cast<unsigned char>(0x80 | length.size()));
    }
    return Join({{tag}, length, content});
}

Bytes Text(unsigned char tag, std::string_view text)
{
    return Element(tag, Bytes(text.begin(), text.end()));
}

Bytes ObjectId(const std::string& dotted)
{
    std::vector<unsigned long> arcs;
    for (std::size_t at = 0; at != std::string::npos;) {
        arcs.push_back(std::stoul(dotted.substr(at)));
        at = dotted.find('.', at);
        at = at == std::string::npos ? at : at + 1;
    }
    Bytes content = {static_cast<unsigned char>(arcs[0] * 40 + arcs[1])};
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        Bytes digits;
        for (unsigned long arc = arcs[i]; digits.empty() || arc != 0; arc >>= 7) {
            const unsigned char more = digits.empty() ? 0 : 0x80;
            digits.insert(digits.begin(), static_cast<unsigned char>((arc & 0x7F) | more));
        }
        content.insert(content.end(), digits.begin(), digits.end());
    }
    return Element(kObjectId, content);
}

// A positive integer from big-endian bytes.
Bytes Integer(Bytes magnitude)
{
    if ((magnitude.front() & 0x80) != 0) {
        magnitude.insert(magnitude.begin(), 0);
    }
    return Element(kInteger, magnitude);
}

Bytes BitString(const Bytes& bits)
{
    return Element(kBitString, Join({{0}, bits}));
}

Bytes Name(const std::string& commonName)
{
    const Bytes attribute =
        Element(kSequence, Join({ObjectId(kCommonName), Text(kUtf8String, commonName)}));
    return Element(kSequence, Element(kSet, attribute));
}

Bytes Extension(const std::string& id, const Bytes& value)
{
    return Element(kSequence, Join({ObjectId(id), Element(kOctetString, value)}));
}

Bytes Extensions(const CertificatePlan& plan)
{
    Bytes extensions;
    if (plan.usages) {
        Bytes usages;
        for (const std::string& usage : *plan.usages) {
            usages = Join({usages, ObjectId(usage)});
        }
        extensions = Extension(kExtendedKeyUsageId, Element(kSequence, usages));
    }
    if (plan.upn) {
        const Bytes upn =
            Join({ObjectId(kUserPrincipalName), Element(kContext0, Text(kUtf8String, *plan.upn))});
        const Bytes names = Element(kSequence, Element(kContext0, upn));
        extensions = Join({extensions, Extension(kSubjectAlternativeNameId, names)});
    }
    for (const CertificatePlan::RawExtension& raw : plan.rawExtensions) {
        extensions = Join({extensions, Extension(raw.id, raw.value)});
    }
    return extensions.empty() ? extensions : Element(kContext3, Element(kSequence, extensions));
}

void Require(NTSTATUS status)
{
    if (status < 0) {
        throw std::runtime_error("CNG refused to make a test certificate");
    }
}

// A fresh P-256 key pair, for one certificate.
class KeyPair {
 public:
    KeyPair()
    {
        Require(BCryptOpenAlgorithmProvider(&algorithm_, BCRYPT_ECDSA_P256_ALGORITHM, nullptr, 0));
        Require(BCryptGenerateKeyPair(algorithm_, &key_, 256, 0));
        Require(BCryptFinalizeKeyPair(key_, 0));
    }
    ~KeyPair()
    {
        BCryptDestroyKey(key_);
        BCryptCloseAlgorithmProvider(algorithm_, 0);
    }
    KeyPair(const KeyPair&) = delete;
    KeyPair& operator=(const KeyPair&) = delete;

    // The uncompressed point: 0x04, x, y.
    Bytes Point() const
    {
        Bytes blob(sizeof(BCRYPT_ECCKEY_BLOB) + 64);
        ULONG size = 0;
        Require(BCryptExportKey(key_, nullptr, BCRYPT_ECCPUBLIC_BLOB, blob.data(),
                                static_cast<ULONG>(blob.size()), &size, 0));
        return Join({{0x04}, Bytes(blob.begin() + sizeof(BCRYPT_ECCKEY_BLOB), blob.end())});
    }

    // The DER form of an ECDSA signature with SHA-256.
    Bytes Sign(const Bytes& data) const
    {
        Bytes hash(32);
        BCRYPT_ALG_HANDLE sha256 = nullptr;
        Require(BCryptOpenAlgorithmProvider(&sha256, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
        Bytes input = data;
        const NTSTATUS hashed = BCryptHash(sha256, nullptr, 0, input.data(),
                                           static_cast<ULONG>(input.size()), hash.data(), 32);
        BCryptCloseAlgorithmProvider(sha256, 0);
        Require(hashed);
        Bytes raw(64);
        ULONG size = 0;
        Require(BCryptSignHash(key_, nullptr, hash.data(), 32, raw.data(), 64, &size, 0));
        const auto middle = raw.begin() + 32;
        return Element(kSequence,
                       Join({Integer({raw.begin(), middle}), Integer({middle, raw.end()})}));
    }

 private:
    BCRYPT_ALG_HANDLE algorithm_ = nullptr;
    BCRYPT_KEY_HANDLE key_ = nullptr;
};

}  // namespace

std::vector<unsigned char> MakeCertificate(const CertificatePlan& plan)
{
    const KeyPair key;
    const Bytes algorithm = Element(kSequence, ObjectId(kEcdsaWithSha256));
    const Bytes publicKey = Element(
        kSequence, Join({Element(kSequence, Join({ObjectId(kEcPublicKey), ObjectId(kPrime256v1)})),
                         BitString(key.Point())}));
    const Bytes validity = Element(
        kSequence, Join({Text(kUtcTime, "250101000000Z"), Text(kUtcTime, "491231235959Z")}));
    const Bytes version3 = Element(kContext0, Integer({2}));
    const Bytes toBeSigned =
        Element(kSequence, Join({version3, Integer({1}), algorithm, Name(plan.commonName), validity,
                                 Name(plan.commonName), publicKey, Extensions(plan)}));
    return Element(kSequence, Join({toBeSigned, algorithm, BitString(key.Sign(toBeSigned))}));
}

}  // namespace kelvor::test
