#include "crypto/ecdsa.h"

#include <cstring>

#include "crypto/der.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kCoordinateBytes = 32;
constexpr std::size_t kHeaderBytes = sizeof(BCRYPT_ECCKEY_BLOB);

BCRYPT_ALG_HANDLE EcdsaAlgorithm()
{
    return Algorithm(BCRYPT_ECDSA_P256_ALGORITHM);
}

SecretBytes BlobOf(ULONG magic, ByteView coordinates)
{
    const BCRYPT_ECCKEY_BLOB header{magic, kCoordinateBytes};
    SecretBytes blob(kHeaderBytes + coordinates.size());
    std::memcpy(blob.Data(), &header, kHeaderBytes);
    std::memcpy(blob.Data() + kHeaderBytes, coordinates.data(), coordinates.size());
    return blob;
}

}  // namespace

EcdsaKey EcdsaKey::Generate()
{
    UniqueCngKey key;
    RequireCng(BCryptGenerateKeyPair(EcdsaAlgorithm(), key.Receive(), 256, 0),
               "BCryptGenerateKeyPair");
    RequireCng(BCryptFinalizeKeyPair(key.Get(), 0), "BCryptFinalizeKeyPair");
    return EcdsaKey(std::move(key));
}

EcdsaKey EcdsaKey::FromParts(ByteView parts)
{
    SecretBytes blob = BlobOf(BCRYPT_ECDSA_PRIVATE_P256_MAGIC, parts);
    UniqueCngKey key;
    RequireCng(BCryptImportKeyPair(EcdsaAlgorithm(), nullptr, BCRYPT_ECCPRIVATE_BLOB, key.Receive(),
                                   blob.Data(), static_cast<ULONG>(blob.Size()), 0),
               "BCryptImportKeyPair");
    return EcdsaKey(std::move(key));
}

SecretBytes EcdsaKey::Parts() const
{
    SecretBytes blob(kHeaderBytes + 3 * kCoordinateBytes);
    ULONG sizeBytes = 0;
    RequireCng(BCryptExportKey(key_.Get(), nullptr, BCRYPT_ECCPRIVATE_BLOB, blob.Data(),
                               static_cast<ULONG>(blob.Size()), &sizeBytes, 0),
               "BCryptExportKey");
    SecretBytes parts(3 * kCoordinateBytes);
    std::memcpy(parts.Data(), blob.Data() + kHeaderBytes, parts.Size());
    return parts;
}

Bytes EcdsaKey::Sign(const Digest& hash) const
{
    Digest input = hash;
    Bytes rAndS(2 * kCoordinateBytes);
    ULONG sizeBytes = 0;
    RequireCng(BCryptSignHash(key_.Get(), nullptr, input.data(), static_cast<ULONG>(input.size()),
                              rAndS.data(), static_cast<ULONG>(rAndS.size()), &sizeBytes, 0),
               "BCryptSignHash");
    return DerEcdsaSignature(rAndS);
}

bool VerifyEcdsa(ByteView xAndY, const Digest& hash, ByteView signature)
{
    std::optional<Bytes> rAndS = EcdsaSignatureOfDer(signature);
    if (!rAndS || xAndY.size() != 2 * kCoordinateBytes) {
        return false;
    }
    SecretBytes blob = BlobOf(BCRYPT_ECDSA_PUBLIC_P256_MAGIC, xAndY);
    UniqueCngKey key;
    if (BCryptImportKeyPair(EcdsaAlgorithm(), nullptr, BCRYPT_ECCPUBLIC_BLOB, key.Receive(),
                            blob.Data(), static_cast<ULONG>(blob.Size()), 0) < 0) {
        return false;
    }
    Digest input = hash;
    return BCryptVerifySignature(key.Get(), nullptr, input.data(), static_cast<ULONG>(input.size()),
                                 rAndS->data(), static_cast<ULONG>(rAndS->size()), 0) >= 0;
}

}  // namespace kelvor::simulator
