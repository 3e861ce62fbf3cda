#include "support/crash_exit.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>

namespace kelvor::test {
namespace {

constexpr UINT kExitStatus = 3;

LONG WINAPI SayAndEnd(EXCEPTION_POINTERS* crash)
{
    void* const address = crash->ExceptionRecord->ExceptionAddress;
    HMODULE module = nullptr;
    wchar_t name[MAX_PATH] = L"no module";
    if (GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<const wchar_t*>(address), &module)) {
        GetModuleFileNameW(module, name, MAX_PATH);
    }
    std::fprintf(stderr, "crashed with 0x%08lX on thread %lu at 0x%llX in %ls\n",
                 crash->ExceptionRecord->ExceptionCode, GetCurrentThreadId(),
                 static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(address) -
                                                 reinterpret_cast<std::uintptr_t>(module)),
                 name);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), kExitStatus);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void EndProcessOnCrash() noexcept
{
    SetUnhandledExceptionFilter(&SayAndEnd);
}

}  // namespace kelvor::test
