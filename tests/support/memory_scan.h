#pragma once

#include <windows.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
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
        const unsigned char* masked = MaskedPiece(piece);
        std::size_t i = 0;
        while (i < kPieceBytes && (memory[i] ^ kMask) == masked[i]) {
            ++i;
        }
        return i == kPieceBytes;
    }
    const unsigned char* MaskedPiece(std::size_t piece) const noexcept
    {
        const std::size_t offset = piece * kPieceBytes;
        const std::size_t last = masked_.size() - kPieceBytes;
        return masked_.data() + (offset < last ? offset : last);
    }
    static constexpr unsigned char kMask = 0xA7;

 private:
    std::string name_;
    std::vector<unsigned char> masked_;
};

// Looks for forbidden pieces, at any place. Of the words of eight bytes that memory falls into, one
// at least lies inside each piece: no more than those are looked up.
class ForbiddenSearch {
 public:
    explicit ForbiddenSearch(std::vector<ForbiddenBytes> forbidden);
    ForbiddenSearch(const ForbiddenSearch&) = delete;
    ForbiddenSearch& operator=(const ForbiddenSearch&) = delete;

    // One line for each piece found in `sizeBytes` bytes at `memory`, a copy of those at
    // `original`. From any thread.
    void Look(const unsigned char* memory, std::size_t sizeBytes, std::vector<std::string>& places,
              const unsigned char* original) const;

 private:
    using Word = std::uint64_t;
    // Where a word stands in a piece.
    struct Candidate {
        const ForbiddenBytes* run;
        std::size_t piece;
        std::size_t offset;
    };
    static std::size_t HashOf(Word masked) noexcept;

    std::vector<ForbiddenBytes> forbidden_;
    std::unordered_multimap<Word, Candidate> byMaskedWord_;
    std::bitset<65536> isHash_;  // of one of those words
};

// Looks through all memory of this process that can be read: heaps, stacks, data; but not what
// files were mapped for reading only.
// Answers one line for each piece found. To be called while no other thread of ours works.
std::vector<std::string> FindInMemory(const ForbiddenSearch& search);

}  // namespace kelvor::test
