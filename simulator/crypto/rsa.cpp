#include "crypto/rsa.h"

#include <cstring>

#include "crypto/der.h"

namespace kelvor::simulator {

namespace {

constexpr ULONG kBits = 2048;
constexpr std::string_view kRsaEncryption = "1.2.840.113549.1.1.1";  // RFC 8017

SecretBytes Export(BCRYPT_KEY_HANDLE key, const wchar_t* format)
{
    ULONG sizeBytes = 0;
    RequireCng(BCryptExportKey(key, nullptr, format, nullptr, 0, &sizeBytes, 0), "BCryptExportKey");
    SecretBytes blob(sizeBytes);
    RequireCng(BCryptExportKey(key, nullptr, format, blob.Data(), sizeBytes, &sizeBytes, 0),
               "BCryptExportKey");
    blob.Shrink(sizeBytes);
    return blob;
}

}  // namespace

RsaKey RsaKey::Generate()
{
    UniqueCngKey key;
    RequireCng(BCryptGenerateKeyPair(Algorithm(BCRYPT_RSA_ALGORITHM), key.Receive(), kBits, 0),
               "BCryptGenerateKeyPair");
    RequireCng(BCryptFinalizeKeyPair(key.Get(), 0), "BCryptFinalizeKeyPair");
    return RsaKey(std::move(key));
}

RsaKey RsaKey::FromPrivateBlob(ByteView blob)
{
    UniqueCngKey key;
    RequireCng(BCryptImportKeyPair(Algorithm(BCRYPT_RSA_ALGORITHM), nullptr, BCRYPT_RSAPRIVATE_BLOB,
                                   key.Receive(), const_cast<PUCHAR>(blob.data()),
                                   static_cast<ULONG>(blob.size()), 0),
               "BCryptImportKeyPair");
    return RsaKey(std::move(key));
}

SecretBytes RsaKey::PrivateBlob() const
{
    return Export(key_.Get(), BCRYPT_RSAPRIVATE_BLOB);
}

Bytes RsaKey::SubjectPublicKeyInfo() const
{
    const SecretBytes blob = Export(key_.Get(), BCRYPT_RSAPUBLIC_BLOB);
    BCRYPT_RSAKEY_BLOB header{};
    std::memcpy(&header, blob.Data(), sizeof(header));
    const ByteView numbers = ViewOf(blob).subspan(sizeof(header));
    const ByteView exponent = numbers.first(header.cbPublicExp);
    const ByteView modulus = numbers.subspan(header.cbPublicExp, header.cbModulus);
    return DerSequence({DerSequence({DerObjectId(kRsaEncryption), DerNull()}),
                        DerBitString(DerSequence({DerInteger(modulus), DerInteger(exponent)}))});
}

Bytes RsaKey::Sign(const Digest& hash) const
{
    Digest input = hash;
    BCRYPT_PKCS1_PADDING_INFO padding{BCRYPT_SHA256_ALGORITHM};
    Bytes signature(kBits / 8);
    ULONG sizeBytes = 0;
    RequireCng(BCryptSignHash(key_.Get(), &padding, input.data(), static_cast<ULONG>(input.size()),
                              signature.data(), static_cast<ULONG>(signature.size()), &sizeBytes,
                              BCRYPT_PAD_PKCS1),
               "BCryptSignHash");
    signature.resize(sizeBytes);
    return signature;
}

}  // namespace kelvor::simulator
