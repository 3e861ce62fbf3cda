#pragma once

#include <windows.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

namespace kelvor::test {

// A run of bytes of which not even a piece may be found in memory. Held masked, so that the search
// does not find this very object.
class ForbiddenBytes {
 public:
    // Freed memory loses its first bytes to the heap's own lists: each piece of this length counts.
    static constexpr std::size_t kPieceBytes = 16;

    // `byteAt` gives the bytes one at a time, so that nobody need hold them. At least one piece.
    template <class ByteAt>
    ForbiddenBytes(std::string name, std::size_t sizeBytes, ByteAt&& byteAt)
        : name_(std::move(name)), masked_(sizeBytes)
    {
        for (std::size_t i = 0; i < sizeBytes; ++i) {
            masked_[i] = static_cast<unsigned char>(byteAt(i) ^ kMask);
        }
    }

    const std::string& Name() const noexcept { return name_; }
    // The pieces follow one another; the last one ends with the run and may overlap the one before.
    std::size_t PieceCount() const noexcept
    {
        return (masked_.size() + kPieceBytes - 1) / kPieceBytes;
    }
    // Whether a piece stands at `memory`, which holds at least one piece's length.
    bool PieceStandsAt(std::size_t piece, const unsigned char* memory) const noexcept
    {
        const unsigned char* masked = Piece(piece);
        std::size_t i = 0;
        while (i < kPieceBytes && (memory[i] ^ kMask) == masked[i]) {
            ++i;
        }
        return i == kPieceBytes;
    }
    // A byte of a piece, masked.
    unsigned char MaskedByte(std::size_t piece, std::size_t index) const noexcept
    {
        return Piece(piece)[index];
    }
    static constexpr unsigned char kMask = 0xA7;

 private:
    const unsigned char* Piece(std::size_t piece) const noexcept
    {
        const std::size_t offset = piece * kPieceBytes;
        const std::size_t last = masked_.size() - kPieceBytes;
        return masked_.data() + (offset < last ? offset : last);
    }

    std::string name_;
    std::vector<unsigned char> masked_;
};

// Looks for forbidden pieces, at any place.
class ForbiddenSearch {
 public:
    // `forbidden` has to outlive the search.
    explicit ForbiddenSearch(const std::vector<ForbiddenBytes>& forbidden);

    // One line for each piece found in `sizeBytes` bytes at `memory`, a copy of those at
    // `original`.
    void Look(const unsigned char* memory, std::size_t sizeBytes, std::vector<std::string>& places,
              const unsigned char* original) const;

 private:
    struct Candidate {
        const ForbiddenBytes* run;
        std::size_t piece;
    };
    std::array<std::vector<Candidate>, 256> byMaskedStart_;
    std::bitset<65536> isStart_;  // by the first two bytes, masked
};

// Looks through all memory of this process that can be read: heaps, stacks, data; but not what
// files were mapped for reading only.
// Answers one line for each piece found. To be called while no other thread of ours works.
std::vector<std::string> FindInMemory(const std::vector<ForbiddenBytes>& forbidden);

}  // namespace kelvor::test
