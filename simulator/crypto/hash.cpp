#include "crypto/hash.h"

#include "crypto/cng.h"

namespace kelvor::simulator {

namespace {

struct HashPolicy {
    using Handle = BCRYPT_HASH_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { BCryptDestroyHash(handle); }
};
using UniqueHash = Unique<HashPolicy>;

// CNG declares its inputs as pointers to what it could change, and changes nothing.
PUCHAR Input(ByteView bytes)
{
    return const_cast<PUCHAR>(bytes.data());
}

}  // namespace

Digest Sha256(std::initializer_list<ByteView> parts)
{
    UniqueHash hash;
    RequireCng(BCryptCreateHash(Algorithm(BCRYPT_SHA256_ALGORITHM), hash.Receive(), nullptr, 0,
                                nullptr, 0, 0),
               "BCryptCreateHash");
    for (const ByteView part : parts) {
        RequireCng(BCryptHashData(hash.Get(), Input(part), static_cast<ULONG>(part.size()), 0),
                   "BCryptHashData");
    }
    Digest digest{};
    RequireCng(BCryptFinishHash(hash.Get(), digest.data(), static_cast<ULONG>(digest.size()), 0),
               "BCryptFinishHash");
    return digest;
}

SecretBytes HmacSha256(ByteView key, ByteView data)
{
    UniqueHash hash;
    RequireCng(
        BCryptCreateHash(Algorithm(BCRYPT_SHA256_ALGORITHM, BCRYPT_ALG_HANDLE_HMAC_FLAG),
                         hash.Receive(), nullptr, 0, Input(key), static_cast<ULONG>(key.size()), 0),
        "BCryptCreateHash");
    RequireCng(BCryptHashData(hash.Get(), Input(data), static_cast<ULONG>(data.size()), 0),
               "BCryptHashData");
    SecretBytes output(sizeof(Digest));
    RequireCng(BCryptFinishHash(hash.Get(), output.Data(), static_cast<ULONG>(output.Size()), 0),
               "BCryptFinishHash");
    return output;
}

Bytes RandomBytes(std::size_t sizeBytes)
{
    Bytes bytes(sizeBytes);
    RequireCng(BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(sizeBytes),
                               BCRYPT_USE_SYSTEM_PREFERRED_RNG),
               "BCryptGenRandom");
    return bytes;
}

SecretBytes RandomSecret(std::size_t sizeBytes)
{
    SecretBytes bytes(sizeBytes);
    RequireCng(BCryptGenRandom(nullptr, bytes.Data(), static_cast<ULONG>(sizeBytes),
                               BCRYPT_USE_SYSTEM_PREFERRED_RNG),
               "BCryptGenRandom");
    return bytes;
}

}  // namespace kelvor::simulator
