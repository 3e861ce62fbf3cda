#include "trust/answers/house_count.h"

#include <windows.h>

#include <winternl.h>

#include <stdexcept>
#include <vector>

namespace kelvor::trust {
namespace {

constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);

// As NtQuerySystemInformation answers it; winternl.h leaves it out.
struct HandleEntry {
    ULONG processId;
    BYTE type;
    BYTE flags;
    USHORT handle;
    void* object;
    ULONG access;
};
struct HandleList {
    ULONG count;
    HandleEntry first;
};

// Wine's GetProcessHandleCount knows none; the list of all processes' handles is right.
std::size_t CountHandles()
{
    constexpr std::size_t kListBytes = std::size_t{4} << 20;
    std::vector<HandleEntry> memory(kListBytes / sizeof(HandleEntry));
    auto* const list = reinterpret_cast<HandleList*>(memory.data());
    ULONG size = 0;
    if (NtQuerySystemInformation(kSystemHandleInformation, list, kListBytes, &size) != 0) {
        throw std::runtime_error("the handles cannot be counted");
    }
    std::size_t count = 0;
    const HandleEntry* entry = &list->first;
    for (ULONG i = 0; i < list->count; ++i, ++entry) {
        count += entry->processId == GetCurrentProcessId() ? 1 : 0;
    }
    return count;
}

void AddHeap(HANDLE heap, HouseCount& house)
{
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            house.heapBytes += entry.cbData;
            ++house.heapBlocks;
        }
    }
    HeapUnlock(heap);
}

}  // namespace

HouseCount CountHouse()
{
    HouseCount house;
    house.handles = CountHandles();
    HANDLE heaps[64] = {};
    const DWORD total = GetProcessHeaps(static_cast<DWORD>(std::size(heaps)), heaps);
    for (DWORD i = 0; i < total && i < std::size(heaps); ++i) {
        AddHeap(heaps[i], house);
    }
    return house;
}

bool FreedBlocksCount()
{
    static const bool found = [] {
        constexpr std::size_t kBlocks = 400;  // of a size: enough for a heap to want some more
        constexpr std::size_t kLargest = 640;
        const std::size_t before = CountHouse().heapBytes;
        for (std::size_t size = 16; size <= kLargest; size *= 2) {
            const std::vector<std::vector<char>> blocks(kBlocks, std::vector<char>(size));
        }
        return CountHouse().heapBytes > before;
    }();
    return found;
}

}  // namespace kelvor::trust
