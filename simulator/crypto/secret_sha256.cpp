#include "crypto/secret_sha256.h"

#include <bit>
#include <cstdint>

namespace kelvor::simulator {

namespace {

// FIPS 180-4, section 4.2.2.
constexpr std::array<std::uint32_t, 64> kRoundConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

class Hasher {
 public:
    ~Hasher() { WipeMemory(this, sizeof(*this)); }

    void Add(unsigned char byte) noexcept
    {
        block_[used_++] = byte;
        if (used_ == block_.size()) {
            Compress();
            used_ = 0;
        }
    }

    Digest Finish(std::uint64_t sizeBytes) noexcept
    {
        Add(0x80);
        while (used_ != block_.size() - sizeof(sizeBytes)) {
            Add(0);
        }
        for (int shift = 56; shift >= 0; shift -= 8) {
            Add(static_cast<unsigned char>((sizeBytes * 8) >> shift));
        }
        Digest digest;
        for (std::size_t i = 0; i < digest.size(); ++i) {
            digest[i] = static_cast<unsigned char>(state_[i / 4] >> (24 - 8 * (i % 4)));
        }
        return digest;
    }

 private:
    // FIPS 180-4, section 6.2.2.
    void Compress() noexcept
    {
        for (std::size_t i = 0; i < 16; ++i) {
            schedule_[i] = static_cast<std::uint32_t>(block_[4 * i]) << 24 |
                           static_cast<std::uint32_t>(block_[4 * i + 1]) << 16 |
                           static_cast<std::uint32_t>(block_[4 * i + 2]) << 8 |
                           static_cast<std::uint32_t>(block_[4 * i + 3]);
        }
        for (std::size_t i = 16; i < schedule_.size(); ++i) {
            const std::uint32_t a = schedule_[i - 15];
            const std::uint32_t b = schedule_[i - 2];
            schedule_[i] = schedule_[i - 16] + schedule_[i - 7] +
                           (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) +
                           (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10));
        }
        std::array<std::uint32_t, 8> v = state_;
        for (std::size_t i = 0; i < schedule_.size(); ++i) {
            const std::uint32_t first =
                v[7] + (std::rotr(v[4], 6) ^ std::rotr(v[4], 11) ^ std::rotr(v[4], 25)) +
                ((v[4] & v[5]) ^ (~v[4] & v[6])) + kRoundConstants[i] + schedule_[i];
            const std::uint32_t second =
                (std::rotr(v[0], 2) ^ std::rotr(v[0], 13) ^ std::rotr(v[0], 22)) +
                ((v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]));
            v = {first + second, v[0], v[1], v[2], v[3] + first, v[4], v[5], v[6]};
        }
        for (std::size_t i = 0; i < state_.size(); ++i) {
            state_[i] += v[i];
        }
        WipeMemory(v.data(), sizeof(v));
    }

    std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<std::uint32_t, 64> schedule_{};
    std::array<unsigned char, 64> block_{};
    std::size_t used_ = 0;
};

}  // namespace

Digest SecretSha256(std::initializer_list<ByteView> parts)
{
    Hasher hasher;
    std::uint64_t sizeBytes = 0;
    for (const ByteView part : parts) {
        for (const unsigned char byte : part) {
            hasher.Add(byte);
        }
        sizeBytes += part.size();
    }
    return hasher.Finish(sizeBytes);
}

}  // namespace kelvor::simulator
