// The allocation functions of C++ for a build that is to fault where memory is misused: each
// allocation has pages of its own, directly before a page that nobody may touch, and a freed one
// has no pages at all. Whatever is misused in another way ends the program in a trap.
//
//     | header | guard | .... slack | the allocation | slack | guard |
//
// The slack before the allocation, and the few bytes behind it that its alignment costs, hold a
// pattern that is looked at when it is freed.
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kPageBytes = 4096;
constexpr std::size_t kDefaultAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
constexpr unsigned char kPattern = 0xE7;
constexpr unsigned char kFresh = 0xCB;  // what nobody has written yet
constexpr std::size_t kSizeUnknown = static_cast<std::size_t>(-1);

struct Header {
    unsigned char* block;
    std::size_t sizeBytes;
    unsigned char* pages;
    std::size_t pagesBytes;
    bool isArray;
};

// Addresses of what was freed last: they stay reserved, so that nothing new is put there.
constexpr std::size_t kGraves = 4'096;
std::array<std::atomic<void*>, kGraves> graves;
std::atomic<std::size_t> nextGrave{0};

void Require(bool condition) noexcept
{
    if (!condition) {
        __builtin_trap();
    }
}

// Whether the ordinary heap had room: a test may have it run dry.
bool OrdinaryHeapGives(std::size_t sizeBytes) noexcept
{
    void* const probe = std::malloc(sizeBytes);
    std::free(probe);
    return probe != nullptr;
}

void* TryAllocate(std::size_t sizeBytes, std::size_t alignment, bool isArray) noexcept
{
    if (sizeBytes > PTRDIFF_MAX - 8 * kPageBytes || !OrdinaryHeapGives(sizeBytes)) {
        return nullptr;
    }
    const std::size_t alignedBytes =
        std::max((sizeBytes + alignment - 1) / alignment * alignment, alignment);
    const std::size_t pagesBytes = (alignedBytes + kPageBytes - 1) / kPageBytes * kPageBytes;
    auto* const base = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, pagesBytes + 3 * kPageBytes, MEM_RESERVE, PAGE_NOACCESS));
    if (base == nullptr) {
        return nullptr;
    }
    auto* const pages = base + 2 * kPageBytes;
    if (VirtualAlloc(base, kPageBytes, MEM_COMMIT, PAGE_READWRITE) == nullptr ||
        VirtualAlloc(pages, pagesBytes, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        VirtualFree(base, 0, MEM_RELEASE);
        return nullptr;
    }
    unsigned char* const block = pages + pagesBytes - alignedBytes;
    std::fill(pages, block, kPattern);
    std::fill(block, block + sizeBytes, kFresh);
    std::fill(block + sizeBytes, pages + pagesBytes, kPattern);
    new (base) Header{block, sizeBytes, pages, pagesBytes, isArray};
    return block;
}

void* Allocate(std::size_t sizeBytes, std::size_t alignment, bool isArray)
{
    void* const block = TryAllocate(sizeBytes, alignment, isArray);
    return block != nullptr ? block : throw std::bad_alloc();
}

void Bury(void* base) noexcept
{
    VirtualFree(base, 0, MEM_DECOMMIT);
    if (void* const oldest = graves[nextGrave++ % kGraves].exchange(base)) {
        VirtualFree(oldest, 0, MEM_RELEASE);
    }
}

// A block that was freed before has no header any more: reading it faults.
void Free(void* memory, std::size_t sizeBytes, bool isArray) noexcept
{
    if (memory == nullptr) {
        return;
    }
    const DWORD error = GetLastError();
    MEMORY_BASIC_INFORMATION region = {};
    Require(VirtualQuery(memory, &region, sizeof region) == sizeof region);
    const auto& header = *static_cast<const Header*>(region.AllocationBase);
    const auto isPattern = [](unsigned char byte) { return byte == kPattern; };
    Require(header.block == memory);
    Require(header.isArray == isArray);
    Require(sizeBytes == kSizeUnknown || sizeBytes == header.sizeBytes);
    Require(std::all_of(header.pages, header.block, isPattern));
    Require(
        std::all_of(header.block + header.sizeBytes, header.pages + header.pagesBytes, isPattern));
    Bury(region.AllocationBase);
    SetLastError(error);
}

std::size_t Of(std::align_val_t alignment) noexcept
{
    return static_cast<std::size_t>(alignment);
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return Allocate(size, kDefaultAlignment, false); }
void* operator new[](std::size_t size) { return Allocate(size, kDefaultAlignment, true); }
void* operator new(std::size_t size, std::align_val_t alignment) { return Allocate(size, Of(alignment), false); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return Allocate(size, Of(alignment), true); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return TryAllocate(size, kDefaultAlignment, false); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return TryAllocate(size, kDefaultAlignment, true); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept { return TryAllocate(size, Of(alignment), false); }
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept { return TryAllocate(size, Of(alignment), true); }

void operator delete(void* memory) noexcept { Free(memory, kSizeUnknown, false); }
void operator delete[](void* memory) noexcept { Free(memory, kSizeUnknown, true); }
void operator delete(void* memory, std::size_t size) noexcept { Free(memory, size, false); }
void operator delete[](void* memory, std::size_t size) noexcept { Free(memory, size, true); }
void operator delete(void* memory, std::align_val_t) noexcept { Free(memory, kSizeUnknown, false); }
void operator delete[](void* memory, std::align_val_t) noexcept { Free(memory, kSizeUnknown, true); }
void operator delete(void* memory, std::size_t size, std::align_val_t) noexcept { Free(memory, size, false); }
void operator delete[](void* memory, std::size_t size, std::align_val_t) noexcept { Free(memory, size, true); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory, kSizeUnknown, false); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Free(memory, kSizeUnknown, true); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { Free(memory, kSizeUnknown, false); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { Free(memory, kSizeUnknown, true); }
// clang-format on
