#include "support/resource_counts.h"

#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>

#include <doctest.h>

#include "handle.h"
#include "support/readable_failures.h"

namespace kelvor::test {
namespace {

// What the headers lack of the system's lists.
constexpr int kAllHandles = 64;
constexpr int kAllProcesses = 5;
constexpr auto kTypeOfObject = static_cast<OBJECT_INFORMATION_CLASS>(2);
constexpr int kBasicInformation = 0;
constexpr auto kStartAddress = static_cast<THREADINFOCLASS>(9);
constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);

struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT traceIndex;
    USHORT typeIndex;
    ULONG attributes;
    ULONG reserved;
};
struct HandleList {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

static_assert(sizeof(SYSTEM_PROCESS_INFORMATION) == 256, "the threads follow behind it");

// The system's answer to a question whose size nobody knows beforehand.
std::vector<unsigned char> Ask(int question)
{
    std::vector<unsigned char> answer(std::size_t{1} << 16);
    for (;;) {
        ULONG needed = 0;
        const NTSTATUS status =
            NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(question), answer.data(),
                                     static_cast<ULONG>(answer.size()), &needed);
        if (status != kTooSmall) {
            return NT_SUCCESS(status) ? answer
                                      : throw std::runtime_error("the system does not say");
        }
        answer.resize(answer.size() * 2);
    }
}

std::string Narrow(const UNICODE_STRING& text)
{
    const std::wstring_view view(text.Buffer, text.Length / sizeof(wchar_t));
    std::string narrow;
    for (const wchar_t letter : view) {
        narrow += static_cast<char>(letter);
    }
    return narrow;
}

std::string TypeOf(HANDLE handle)
{
    alignas(UNICODE_STRING) unsigned char answer[1024] = {};
    ULONG size = 0;
    if (!NT_SUCCESS(NtQueryObject(handle, kTypeOfObject, answer, sizeof answer, &size))) {
        return "other handle";
    }
    return Narrow(*reinterpret_cast<const UNICODE_STRING*>(answer)) + " handle";
}

constexpr const char* kSemaphore = "Semaphore handle";

struct SemaphoreInformation {
    ULONG currentCount;
    ULONG maximumCount;
};
extern "C" NTSTATUS NTAPI NtQuerySemaphore(HANDLE, int, SemaphoreInformation*, ULONG, ULONG*);

// Wine makes one for a critical section the first time that anybody has to wait for it.
bool IsOfCriticalSection(HANDLE handle, const std::string& type)
{
    SemaphoreInformation semaphore = {};
    return type == kSemaphore &&
           NT_SUCCESS(NtQuerySemaphore(handle, kBasicInformation, &semaphore, sizeof semaphore,
                                       nullptr)) &&
           semaphore.maximumCount == 1;
}

void CountHandles(ResourceCounts& counts)
{
    const std::vector<unsigned char> answer = Ask(kAllHandles);
    const auto& list = *reinterpret_cast<const HandleList*>(answer.data());
    for (ULONG_PTR i = 0; i < list.count; ++i) {
        const HandleEntry& entry = list.entries[i];
        if (entry.processId == GetCurrentProcessId()) {
            const auto handle = reinterpret_cast<HANDLE>(entry.handle);
            const std::string type = TypeOf(handle);
            counts[type] += IsOfCriticalSection(handle, type) ? 0 : 1;
        }
    }
}

// The file name of the image that an address belongs to.
std::string ImageOf(const void* address)
{
    HMODULE image = nullptr;
    char path[MAX_PATH] = "nowhere";
    if (GetModuleHandleExA(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<const char*>(address), &image)) {
        GetModuleFileNameA(image, path, MAX_PATH);
    }
    return std::string(path).substr(std::string(path).rfind('\\') + 1);
}

void CountThread(DWORD id, ResourceCounts& counts)
{
    const UniqueKernelObject thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, id));
    void* start = nullptr;
    if (!thread || !NT_SUCCESS(NtQueryInformationThread(thread.Get(), kStartAddress, &start,
                                                        sizeof start, nullptr))) {
        return;  // it has ended
    }
    // The system's thread pool begins and ends its threads as it likes.
    if (const std::string image = ImageOf(start); image != "ntdll.dll") {
        ++counts["thread that began in " + image];
    }
}

void CountThreads(ResourceCounts& counts)
{
    const std::vector<unsigned char> answer = Ask(kAllProcesses);
    const unsigned char* at = answer.data();
    for (;;) {
        const auto& process = *reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(at);
        if (process.UniqueProcessId == UlongToHandle(GetCurrentProcessId())) {
            const auto* thread = reinterpret_cast<const SYSTEM_THREAD_INFORMATION*>(&process + 1);
            for (ULONG i = 0; i < process.NumberOfThreads; ++i, ++thread) {
                CountThread(HandleToUlong(thread->ClientId.UniqueThread), counts);
            }
            return;
        }
        if (process.NextEntryOffset == 0) {
            return;
        }
        at += process.NextEntryOffset;
    }
}

// The table of GDI objects that each process has before its eyes: GetGuiResources counts nothing
// under Wine.
struct GdiEntry {
    void* object;
    ULONG ownerProcessId;  // under Wine 0
    USHORT unique;
    UCHAR type;  // 0: the entry is free
    UCHAR flags;
    void* userPointer;
};
constexpr std::size_t kGdiEntries = 65'536;
constexpr std::size_t kGdiTableOffset = 0xF8;  // in the process environment block

void CountGdiObjects(ResourceCounts& counts)
{
    PROCESS_BASIC_INFORMATION process = {};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process,
                              sizeof process, nullptr);
    const auto* block = reinterpret_cast<const unsigned char*>(process.PebBaseAddress);
    const auto* table = *reinterpret_cast<const GdiEntry* const*>(block + kGdiTableOffset);
    for (std::size_t i = 0; i < kGdiEntries; ++i) {
        const ULONG owner = table[i].ownerProcessId & ~ULONG{1};
        if (table[i].type != 0 && (owner == 0 || owner == GetCurrentProcessId())) {
            ++counts["GDI object"];
        }
    }
}

int WindowsSeen()
{
    int windows = 0;
    for (const HWND parent : {static_cast<HWND>(nullptr), HWND_MESSAGE}) {
        HWND window = nullptr;
        while ((window = FindWindowExW(parent, window, nullptr, nullptr)) != nullptr) {
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            windows += owner == GetCurrentProcessId() ? 1 : 0;
        }
    }
    return windows;
}

// A look ends early when another process closes the window that it has come to: the one that saw
// most is right.
void CountWindows(ResourceCounts& counts)
{
    constexpr int kLooks = 4;
    int seen = 0;
    for (int look = 0; look < kLooks; ++look) {
        seen = std::max(seen, WindowsSeen());
    }
    counts["window"] = seen;
}

// What the system opens with the first object that has a name, and this program's own runtime with
// its first exception, and keeps.
bool WarmUp()
{
    const UniqueKernelObject named(
        CreateEventW(nullptr, TRUE, FALSE, L"Local\\KelvorTestsFirstName"));
    try {
        throw static_cast<bool>(named);
    } catch (bool warm) {
        return warm;
    }
}

}  // namespace

ResourceCounts CountResources()
{
    static const bool kWarm = WarmUp();
    static_cast<void>(kWarm);
    ResourceCounts counts;
    CountHandles(counts);
    CountThreads(counts);
    CountGdiObjects(counts);
    CountWindows(counts);
    return counts;
}

std::vector<std::string> Growth(const ResourceCounts& before, const ResourceCounts& after)
{
    std::vector<std::string> lines;
    for (const auto& [kind, count] : after) {
        const auto found = before.find(kind);
        const int grown = count - (found != before.end() ? found->second : 0);
        if (grown > 0) {
            lines.push_back(std::to_string(grown) + " more of: " + kind);
        }
    }
    return lines;
}

ResourceBook::ResourceBook() : before_(CountResources()) {}

ResourceBook::~ResourceBook()
{
    ResourceCounts after = CountResources();
    // The compiler's runtime inside the module makes one with the module's first exception and does
    // not close it; the module itself makes none.
    after.erase(kSemaphore);
    CHECK(Growth(before_, after) == std::vector<std::string>{});
}

}  // namespace kelvor::test
