#include "support/memory_scan.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace kelvor::test {
namespace {

// What a file was mapped for reading only, such as code and tables, holds what the file does.
bool IsFromFile(const MEMORY_BASIC_INFORMATION& region)
{
    constexpr DWORD kUnwritable = PAGE_READONLY | PAGE_EXECUTE_READ;
    return region.Type != MEM_PRIVATE && (region.Protect & kUnwritable) != 0;
}

// Most memory is zero, and no piece has two zeros in a row.
bool AreZero(const unsigned char* eightBytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, eightBytes, sizeof word);
    return word == 0;
}

bool CanRead(const MEMORY_BASIC_INFORMATION& region)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY |
                                PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return region.State == MEM_COMMIT && (region.Protect & kReadable) != 0 &&
           (region.Protect & PAGE_GUARD) == 0;
}

std::size_t StartOf(int first, int second)
{
    return static_cast<std::size_t>(first << 8 | second);
}

std::string Place(const ForbiddenBytes& run, std::size_t piece, const unsigned char* at)
{
    char line[160] = {};
    std::snprintf(line, sizeof line, "%s, piece %zu, at %p", run.Name().c_str(), piece,
                  static_cast<const void*>(at));
    return line;
}

// A secret that was copied went through vector registers, and a system call saves those; Wine does
// so in memory of the process, where Windows has its kernel. They are given other values, and saved
// once more. (Values other than zero: registers full of zeros need no saving.)
void OverwriteSavedRegisters()
{
    __asm__ volatile(
        "pcmpeqd %%xmm0, %%xmm0\n pcmpeqd %%xmm1, %%xmm1\n pcmpeqd %%xmm2, %%xmm2\n"
        "pcmpeqd %%xmm3, %%xmm3\n pcmpeqd %%xmm4, %%xmm4\n pcmpeqd %%xmm5, %%xmm5\n"
        "pcmpeqd %%xmm6, %%xmm6\n pcmpeqd %%xmm7, %%xmm7\n pcmpeqd %%xmm8, %%xmm8\n"
        "pcmpeqd %%xmm9, %%xmm9\n pcmpeqd %%xmm10, %%xmm10\n pcmpeqd %%xmm11, %%xmm11\n"
        "pcmpeqd %%xmm12, %%xmm12\n pcmpeqd %%xmm13, %%xmm13\n pcmpeqd %%xmm14, %%xmm14\n"
        "pcmpeqd %%xmm15, %%xmm15\n"
        :
        :
        : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
          "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
    SwitchToThread();
}

// The memory that a search copies into, a region of its own.
class CopyRoom {
 public:
    static constexpr std::size_t kSizeBytes = std::size_t{1} << 20;

    CopyRoom()
        : memory_(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, kSizeBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)))
    {
    }
    ~CopyRoom() { VirtualFree(memory_, 0, MEM_RELEASE); }
    CopyRoom(const CopyRoom&) = delete;
    CopyRoom& operator=(const CopyRoom&) = delete;

    unsigned char* Memory() const noexcept { return memory_; }

 private:
    unsigned char* memory_;
};

// A piece may lie across the end of a copy: the next one begins a little earlier.
void LookThrough(const MEMORY_BASIC_INFORMATION& region, const CopyRoom& room,
                 const ForbiddenSearch& search, std::vector<std::string>& places)
{
    constexpr std::size_t kOverlap = ForbiddenBytes::kPieceBytes - 1;
    const auto* base = static_cast<const unsigned char*>(region.BaseAddress);
    for (std::size_t done = 0; done + kOverlap < region.RegionSize;) {
        const std::size_t size = std::min(CopyRoom::kSizeBytes, region.RegionSize - done);
        SIZE_T copied = 0;
        if (!ReadProcessMemory(GetCurrentProcess(), base + done, room.Memory(), size, &copied)) {
            return;  // gone meanwhile
        }
        search.Look(room.Memory(), copied, places, base + done);
        done += size - kOverlap;
    }
}

}  // namespace

ForbiddenSearch::ForbiddenSearch(const std::vector<ForbiddenBytes>& forbidden)
{
    for (const ForbiddenBytes& run : forbidden) {
        for (std::size_t piece = 0; piece < run.PieceCount(); ++piece) {
            byMaskedStart_[run.MaskedByte(piece, 0)].push_back({&run, piece});
            isStart_.set(StartOf(run.MaskedByte(piece, 0), run.MaskedByte(piece, 1)));
        }
    }
}

void ForbiddenSearch::Look(const unsigned char* memory, std::size_t sizeBytes,
                           std::vector<std::string>& places, const unsigned char* original) const
{
    for (std::size_t at = 0; at + ForbiddenBytes::kPieceBytes <= sizeBytes; ++at) {
        while (at + ForbiddenBytes::kPieceBytes + 7 <= sizeBytes && AreZero(memory + at)) {
            at += 7;
        }
        if (!isStart_.test(StartOf(memory[at] ^ ForbiddenBytes::kMask,
                                   memory[at + 1] ^ ForbiddenBytes::kMask))) {
            continue;
        }
        for (const Candidate& candidate : byMaskedStart_[memory[at] ^ ForbiddenBytes::kMask]) {
            if (candidate.run->PieceStandsAt(candidate.piece, memory + at)) {
                places.push_back(Place(*candidate.run, candidate.piece, original + at));
            }
        }
    }
}

std::vector<std::string> FindInMemory(const std::vector<ForbiddenBytes>& forbidden)
{
    OverwriteSavedRegisters();
    const ForbiddenSearch search(forbidden);
    std::vector<std::string> places;
    // Read by the system and not by us: memory may be given back under our eyes, such as the stack
    // of a thread of the system's pool that has idled long enough.
    const CopyRoom room;
    MEMORY_BASIC_INFORMATION region = {};
    const unsigned char* next = nullptr;
    while (VirtualQuery(next, &region, sizeof region) == sizeof region) {
        next = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
        if (CanRead(region) && !IsFromFile(region) && region.BaseAddress != room.Memory()) {
            LookThrough(region, room, search, places);
        }
    }
    return places;
}

}  // namespace kelvor::test
