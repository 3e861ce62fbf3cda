#include "process_sample.h"

#include <windows.h>

#include <winternl.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "handle.h"

namespace kelvor::trust {
namespace {

struct HeapUse {
    std::size_t blocks = 0;
    std::size_t bytes = 0;
};

void Require(BOOL success, const char* function)
{
    if (!success) {
        throw std::runtime_error(std::string(function) + " failed with " +
                                 std::to_string(GetLastError()));
    }
}

// What the system tells of one handle.
struct HandleEntry {
    USHORT processId;
    USHORT traceIndex;
    UCHAR type;
    UCHAR attributes;
    USHORT value;
    void* object;
    ULONG access;
};

struct HandleList {
    ULONG count;
    HandleEntry entries[1];
};

// GetProcessHandleCount would be simpler, but Wine answers 0.
std::size_t Handles()
{
    constexpr auto kHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    constexpr NTSTATUS kTooShort = static_cast<NTSTATUS>(0xC0000004);
    std::vector<unsigned char> bytes(0x10000);
    NTSTATUS status = kTooShort;
    while (status == kTooShort) {
        bytes.resize(bytes.size() * 2);
        status = NtQuerySystemInformation(kHandleInformation, bytes.data(),
                                          static_cast<ULONG>(bytes.size()), nullptr);
    }
    Require(status >= 0, "NtQuerySystemInformation");
    const auto& list = *reinterpret_cast<const HandleList*>(bytes.data());
    return static_cast<std::size_t>(
        std::count_if(list.entries, list.entries + list.count, [](const HandleEntry& entry) {
            return entry.processId == static_cast<USHORT>(GetCurrentProcessId());
        }));
}

std::size_t Threads()
{
    const HANDLE raw = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    Require(raw != INVALID_HANDLE_VALUE, "CreateToolhelp32Snapshot");
    const UniqueKernelObject snapshot(raw);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    std::size_t count = 0;
    for (BOOL more = Thread32First(raw, &entry); more; more = Thread32Next(raw, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    return count;
}

void Add(HANDLE heap, HeapUse& use)
{
    Require(HeapLock(heap), "HeapLock");
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            ++use.blocks;
            use.bytes += entry.cbData;
        }
    }
    HeapUnlock(heap);
}

HeapUse AllHeaps()
{
    std::vector<HANDLE> heaps(64);
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    Require(count > 0 && count <= heaps.size(), "GetProcessHeaps");
    heaps.resize(count);
    HeapUse use;
    for (const HANDLE heap : heaps) {
        Add(heap, use);
    }
    return use;
}

std::size_t WorkingSet()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    Require(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters),
            "GetProcessMemoryInfo");
    return counters.WorkingSetSize;
}

// Pages that this process alone has. Wine's counters leave them out.
std::size_t PrivateMemory()
{
    std::size_t sizeBytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    const unsigned char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) {
            sizeBytes += region.RegionSize;
        }
        address = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return sizeBytes;
}

double InKiB(std::size_t bytes)
{
    return static_cast<double>(bytes) / 1024;
}

}  // namespace

ProcessSample SampleProcess()
{
    const HeapUse heap = AllHeaps();
    return {static_cast<double>(Handles()),   static_cast<double>(Threads()),
            InKiB(PrivateMemory()),           InKiB(WorkingSet()),
            static_cast<double>(heap.blocks), InKiB(heap.bytes)};
}

}  // namespace kelvor::trust
