#include "logonui/lsa/card_certificate.h"

#include <bcrypt.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr char kSmartCardLogonUsage[] = "1.3.6.1.4.1.311.20.2.2";

struct AlgorithmPolicy {
    using Handle = BCRYPT_ALG_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle algorithm) noexcept { BCryptCloseAlgorithmProvider(algorithm, 0); }
};

struct KeyPolicy {
    using Handle = BCRYPT_KEY_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { BCryptDestroyKey(key); }
};

std::string NameText(const CERT_NAME_BLOB& name)
{
    CERT_NAME_BLOB blob = name;
    wchar_t text[512] = {};
    CertNameToStrW(X509_ASN_ENCODING, &blob, CERT_X500_NAME_STR, text, 512);
    return ToUtf8(text);
}

// The public key as CNG takes it; empty when it is no RSA key.
std::vector<unsigned char> RsaPublicBlob(const CERT_PUBLIC_KEY_INFO& info)
{
    DWORD sizeBytes = 0;
    std::vector<unsigned char> decoded;
    for (int pass = 0; pass < 2; ++pass) {
        decoded.resize(sizeBytes);
        if (!CryptDecodeObject(X509_ASN_ENCODING, RSA_CSP_PUBLICKEYBLOB, info.PublicKey.pbData,
                               info.PublicKey.cbData, 0, pass == 0 ? nullptr : decoded.data(),
                               &sizeBytes)) {
            return {};
        }
    }
    if (sizeBytes < sizeof(BLOBHEADER) + sizeof(RSAPUBKEY)) {
        return {};
    }
    RSAPUBKEY rsa = {};
    std::memcpy(&rsa, decoded.data() + sizeof(BLOBHEADER), sizeof rsa);
    const std::size_t modulusBytes = rsa.bitlen / 8;
    if (sizeBytes < sizeof(BLOBHEADER) + sizeof rsa + modulusBytes) {
        return {};
    }
    BCRYPT_RSAKEY_BLOB header = {};
    header.Magic = BCRYPT_RSAPUBLIC_MAGIC;
    header.BitLength = rsa.bitlen;
    header.cbPublicExp = sizeof rsa.pubexp;
    header.cbModulus = static_cast<ULONG>(modulusBytes);
    std::vector<unsigned char> blob(sizeof header + sizeof rsa.pubexp + modulusBytes);
    std::memcpy(blob.data(), &header, sizeof header);
    // CryptoAPI counts from the little end, CNG from the big one.
    for (std::size_t i = 0; i < sizeof rsa.pubexp; ++i) {
        blob[sizeof header + i] =
            static_cast<unsigned char>(rsa.pubexp >> (8 * (sizeof rsa.pubexp - 1 - i)));
    }
    const unsigned char* modulus = decoded.data() + sizeof(BLOBHEADER) + sizeof rsa;
    std::reverse_copy(modulus, modulus + modulusBytes,
                      blob.begin() + sizeof header + sizeof rsa.pubexp);
    return blob;
}

}  // namespace

UniqueCertificate ReadCertificate(std::span<const unsigned char> der)
{
    return UniqueCertificate(CertCreateCertificateContext(X509_ASN_ENCODING, der.data(),
                                                          static_cast<DWORD>(der.size())));
}

std::string SubjectOf(const CERT_CONTEXT& certificate)
{
    return NameText(certificate.pCertInfo->Subject);
}

std::string IssuerOf(const CERT_CONTEXT& certificate)
{
    return NameText(certificate.pCertInfo->Issuer);
}

std::string ValidUntil(const CERT_CONTEXT& certificate)
{
    SYSTEMTIME time = {};
    FileTimeToSystemTime(&certificate.pCertInfo->NotAfter, &time);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u UTC", time.wYear, time.wMonth,
                  time.wDay, time.wHour, time.wMinute);
    return text;
}

bool IssuedBy(const CERT_CONTEXT& certificate, std::span<const unsigned char> authority)
{
    const UniqueCertificate issuer = ReadCertificate(authority);
    if (!issuer) {
        return false;
    }
    CERT_CONTEXT subject = certificate;  // the call takes it without const
    CERT_CONTEXT signer = *issuer.Get();
    return CertCompareCertificateName(X509_ASN_ENCODING, &subject.pCertInfo->Issuer,
                                      &signer.pCertInfo->Subject) &&
           ValidNow(signer) &&
           CryptVerifyCertificateSignatureEx(
               0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, &subject,
               CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, &signer, 0, nullptr);
}

bool ValidNow(const CERT_CONTEXT& certificate)
{
    return CertVerifyTimeValidity(nullptr, certificate.pCertInfo) == 0;
}

bool AllowsSmartCardLogon(const CERT_CONTEXT& certificate)
{
    DWORD sizeBytes = 0;
    if (!CertGetEnhancedKeyUsage(&certificate, 0, nullptr, &sizeBytes) || sizeBytes == 0) {
        return false;
    }
    std::vector<unsigned char> buffer(sizeBytes);
    auto* const usage = reinterpret_cast<CERT_ENHKEY_USAGE*>(buffer.data());
    if (!CertGetEnhancedKeyUsage(&certificate, 0, usage, &sizeBytes)) {
        return false;
    }
    const std::span<const LPSTR> names(usage->rgpszUsageIdentifier, usage->cUsageIdentifier);
    return std::ranges::any_of(
        names, [](const char* name) { return std::strcmp(name, kSmartCardLogonUsage) == 0; });
}

bool Verifies(const CERT_CONTEXT& certificate, std::span<const unsigned char> hash,
              std::span<const unsigned char> signature)
{
    std::vector<unsigned char> blob = RsaPublicBlob(certificate.pCertInfo->SubjectPublicKeyInfo);
    Unique<AlgorithmPolicy> algorithm;
    Unique<KeyPolicy> key;
    if (blob.empty() ||
        BCryptOpenAlgorithmProvider(algorithm.Receive(), BCRYPT_RSA_ALGORITHM, nullptr, 0) < 0 ||
        BCryptImportKeyPair(algorithm.Get(), nullptr, BCRYPT_RSAPUBLIC_BLOB, key.Receive(),
                            blob.data(), static_cast<ULONG>(blob.size()), 0) < 0) {
        return false;
    }
    BCRYPT_PKCS1_PADDING_INFO padding = {BCRYPT_SHA256_ALGORITHM};
    std::vector<unsigned char> hashCopy(hash.begin(), hash.end());
    std::vector<unsigned char> signatureCopy(signature.begin(), signature.end());
    return BCryptVerifySignature(key.Get(), &padding, hashCopy.data(),
                                 static_cast<ULONG>(hashCopy.size()), signatureCopy.data(),
                                 static_cast<ULONG>(signatureCopy.size()), BCRYPT_PAD_PKCS1) >= 0;
}

}  // namespace kelvor::simulator
