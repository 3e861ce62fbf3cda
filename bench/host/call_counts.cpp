#include "host/call_counts.h"

#include <array>
#include <cstddef>
#include <new>
#include <set>
#include <string_view>

#include "sampler/report.h"

namespace kelvor::bench {
namespace {

// Of the C runtime's functions only these count.
const std::set<std::string_view> kCountedOfRuntime = {"_wfopen", "fclose"};
// What Windows does for the module within the process; and the wait, which a byte of the pipe that
// is there already does not need.
const std::set<std::string_view> kWithinProcess = {"EnterCriticalSection",
                                                   "LeaveCriticalSection",
                                                   "InitializeCriticalSection",
                                                   "DeleteCriticalSection",
                                                   "GetLastError",
                                                   "SetLastError",
                                                   "GetCurrentThreadId",
                                                   "GetCurrentProcessId",
                                                   "GetTickCount",
                                                   "GetTickCount64",
                                                   "TlsGetValue",
                                                   "CoTaskMemAlloc",
                                                   "WaitForSingleObject",
                                                   "SHStrDupW",
                                                   "CoTaskMemFree",
                                                   "QISearch",
                                                   "MultiByteToWideChar",
                                                   "WideCharToMultiByte",
                                                   "CompareStringOrdinal"};

bool IsCounted(const simulator::Import& import)
{
    return import.library.starts_with("api-ms-win-crt-")
               ? kCountedOfRuntime.contains(import.function)
               : !kWithinProcess.contains(import.function);
}

}  // namespace

// `lock inc qword [calls]; jmp [target]`: each distance counts from the next instruction on.
struct CallCounts::Thunk {
    std::array<unsigned char, 24> code = {0xF0, 0x48, 0xFF, 0x05, 16, 0, 0,
                                          0,    0xFF, 0x25, 18,   0,  0, 0};
    volatile std::uint64_t calls = 0;
    void* target = nullptr;
};

CallCounts::CallCounts(HMODULE module)
{
    static_assert(offsetof(Thunk, calls) == 24 && offsetof(Thunk, target) == 32);
    const std::vector<simulator::Import> imports = simulator::ListImports(module);
    thunks_ = static_cast<Thunk*>(VirtualAlloc(nullptr, imports.size() * sizeof(Thunk),
                                               MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    for (const simulator::Import& import : imports) {
        if (IsCounted(import)) {
            Thunk* const thunk = new (&thunks_[functions_.size()]) Thunk();
            thunk->target = *import.slot;
            functions_.push_back(import.function);
            patches_.emplace_back(module, import.function.c_str(), thunk->code.data());
        }
    }
}

CallCounts::~CallCounts()
{
    patches_.clear();
    VirtualFree(thunks_, 0, MEM_RELEASE);
}

Counts CallCounts::Take() const
{
    Counts counts;
    for (std::size_t i = 0; i < functions_.size(); ++i) {
        if (thunks_[i].calls != 0) {
            counts[functions_[i]] = thunks_[i].calls;
        }
    }
    return counts;
}

void RequireSameCalls(const Counts& module, const Counts& bare)
{
    std::string problem;
    const auto compare = [&](const Counts& one, const Counts& other, const char* who) {
        for (const auto& [function, calls] : one) {
            const auto found = other.find(function);
            const std::uint64_t others = found == other.end() ? 0 : found->second;
            if (calls > others) {
                problem += " " + function + ": " + who + " " + std::to_string(calls) +
                           ", the other " + std::to_string(others) + ";";
            }
        }
    };
    compare(module, bare, "the module");
    compare(bare, module, "the bare program");
    if (!problem.empty()) {
        throw NotTheSameWork("the two sides call Windows differently:" + problem);
    }
}

}  // namespace kelvor::bench
