#include "support/memory_scan.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace kelvor::test {
namespace {

// What a file was mapped for reading only, such as code and tables, holds what the file does.
bool IsFromFile(const MEMORY_BASIC_INFORMATION& region)
{
    constexpr DWORD kUnwritable = PAGE_READONLY | PAGE_EXECUTE_READ;
    return region.Type != MEM_PRIVATE && (region.Protect & kUnwritable) != 0;
}

bool CanRead(const MEMORY_BASIC_INFORMATION& region)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY |
                                PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return region.State == MEM_COMMIT && (region.Protect & kReadable) != 0 &&
           (region.Protect & PAGE_GUARD) == 0;
}

std::uint64_t WordAt(const unsigned char* memory)
{
    std::uint64_t word = 0;
    std::memcpy(&word, memory, sizeof word);
    return word;
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

// A copy that met memory which is no more goes on behind its instruction, and rcx holds what it
// lacks.
LONG CALLBACK EndCopy(EXCEPTION_POINTERS* exception)
{
    constexpr std::array<unsigned char, 2> kRepMovsb = {0xF3, 0xA4};
    constexpr ULONG_PTR kReading = 0;  // winnt.h's EXCEPTION_READ_FAULT
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION ||
        record.ExceptionInformation[0] != kReading ||
        std::memcmp(record.ExceptionAddress, kRepMovsb.data(), kRepMovsb.size()) != 0) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    exception->ContextRecord->Rip += kRepMovsb.size();
    return EXCEPTION_CONTINUE_EXECUTION;
}

// The memory that a search copies into, a region of its own. Copied and not looked at in place:
// memory may be given back under our eyes, such as the stack of a thread of the system's pool that
// has idled long enough. (ReadProcessMemory takes many times as long under Wine.)
class CopyRoom {
 public:
    static constexpr std::size_t kSizeBytes = std::size_t{1} << 20;

    CopyRoom()
        : memory_(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, kSizeBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
          handler_(AddVectoredExceptionHandler(TRUE, &EndCopy))
    {
    }
    ~CopyRoom()
    {
        RemoveVectoredExceptionHandler(handler_);
        VirtualFree(memory_, 0, MEM_RELEASE);
    }
    CopyRoom(const CopyRoom&) = delete;
    CopyRoom& operator=(const CopyRoom&) = delete;

    unsigned char* Memory() const noexcept { return memory_; }
    // How many of the bytes were there to be copied.
    std::size_t Take(const unsigned char* from, std::size_t sizeBytes) const noexcept
    {
        unsigned char* to = memory_;
        std::size_t left = sizeBytes;
        __asm__ volatile("rep movsb" : "+S"(from), "+D"(to), "+c"(left) : : "memory");
        return sizeBytes - left;
    }

 private:
    unsigned char* memory_;
    void* handler_;
};

// A piece may lie across the end of a copy: the next one begins a little earlier.
void LookThrough(const MEMORY_BASIC_INFORMATION& region, const CopyRoom& room,
                 const ForbiddenSearch& search, std::vector<std::string>& places)
{
    constexpr std::size_t kOverlap = ForbiddenBytes::kPieceBytes - 1;
    const auto* base = static_cast<const unsigned char*>(region.BaseAddress);
    for (std::size_t done = 0; done + kOverlap < region.RegionSize;) {
        const std::size_t size = std::min(CopyRoom::kSizeBytes, region.RegionSize - done);
        const std::size_t copied = room.Take(base + done, size);
        search.Look(room.Memory(), copied, places, base + done);
        if (copied < size) {
            return;  // gone meanwhile
        }
        done += size - kOverlap;
    }
}

}  // namespace

ForbiddenSearch::ForbiddenSearch(std::vector<ForbiddenBytes> forbidden)
    : forbidden_(std::move(forbidden))
{
    for (const ForbiddenBytes& run : forbidden_) {
        for (std::size_t piece = 0; piece < run.PieceCount(); ++piece) {
            for (std::size_t offset = 0; offset < sizeof(Word); ++offset) {
                const Word masked = WordAt(run.MaskedPiece(piece) + offset);
                byMaskedWord_.insert({masked, {&run, piece, offset}});
                isHash_.set(HashOf(masked));
            }
        }
    }
}

// By the 64-bit golden ratio, whose product's upper bits depend on every byte.
std::size_t ForbiddenSearch::HashOf(Word masked) noexcept
{
    return masked * 0x9E3779B97F4A7C15U >> 48;
}

void ForbiddenSearch::Look(const unsigned char* memory, std::size_t sizeBytes,
                           std::vector<std::string>& places, const unsigned char* original) const
{
    constexpr Word kMask = ForbiddenBytes::kMask * 0x0101010101010101U;
    for (std::size_t at = 0; at + sizeof(Word) <= sizeBytes; at += sizeof(Word)) {
        const Word masked = WordAt(memory + at) ^ kMask;
        if (!isHash_.test(HashOf(masked))) {
            continue;
        }
        const auto [first, last] = byMaskedWord_.equal_range(masked);
        for (auto found = first; found != last; ++found) {
            const Candidate& candidate = found->second;
            const std::size_t begin = at - candidate.offset;
            if (candidate.offset <= at && begin + ForbiddenBytes::kPieceBytes <= sizeBytes &&
                candidate.run->PieceStandsAt(candidate.piece, memory + begin)) {
                places.push_back(Place(*candidate.run, candidate.piece, original + begin));
            }
        }
    }
}

std::vector<std::string> FindInMemory(const ForbiddenSearch& search)
{
    OverwriteSavedRegisters();
    std::vector<std::string> places;
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
