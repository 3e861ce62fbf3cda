#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

constexpr const char* kNothingToFail = "answers nothing and reports no failure";
constexpr const char* kAlwaysAnswers = "has no failure in its documentation";
constexpr const char* kPure = "computes on memory at hand and has no failure";
constexpr const char* kNoSuchThing = "says that there is nothing more to do, which is no failure";
constexpr const char* kUnwinding = "unwinds a C++ exception; it does not come back to its caller";
constexpr const char* kWhileLoading =
    "called while the module is loaded or unloaded, when its import table cannot be diverted yet; "
    "the loader reports a failure itself";
constexpr const char* kOtherConversions =
    "for a conversion of the C runtime's own, which no line of the log has";
constexpr const char* kNeverCalled =
    "linked with the runtime, but called on no road: what it belongs to is not used";
constexpr const char* kDying = "ends a process that is lost already";

constexpr Unfailing kUnfailing[] = {
    {"Sleep", kNothingToFail},
    {"GetTickCount", kAlwaysAnswers},
    {"GetTickCount64", kAlwaysAnswers},
    {"GetLocalTime", kNothingToFail},
    {"GetCurrentProcessId", kAlwaysAnswers},
    {"GetCurrentThreadId", kAlwaysAnswers},
    {"GetLastError", kAlwaysAnswers},
    {"SetLastError", kNothingToFail},
    {"SetThreadpoolTimer", kNothingToFail},
    {"WaitForThreadpoolTimerCallbacks", kNothingToFail},
    {"CloseThreadpoolTimer", kNothingToFail},
    {"FreeLibraryAndExitThread", "does not come back to its caller"},
    {"InitializeCriticalSection", kNothingToFail},
    {"EnterCriticalSection", kNothingToFail},
    {"LeaveCriticalSection", kNothingToFail},
    {"DeleteCriticalSection", kNothingToFail},
    {"CoTaskMemFree", kNothingToFail},
    {"CertFreeCertificateContext", "answers TRUE whatever happens"},
    {"prov_assert_hmac_free", kNothingToFail},
    {"PeekMessageW", kNoSuchThing},
    {"TranslateMessage", kNoSuchThing},
    {"DispatchMessageW", "answers what the window answered"},
    {"PostQuitMessage", kNothingToFail},

    {"DisableThreadLibraryCalls", kWhileLoading},
    {"VirtualProtect", kWhileLoading},
    {"VirtualQuery", kWhileLoading},
    {"__p__environ", kWhileLoading},
    {"__p__wenviron", kWhileLoading},
    {"__p___argc", kWhileLoading},
    {"__p___argv", kWhileLoading},
    {"__p___wargv", kWhileLoading},
    {"_configure_narrow_argv", kWhileLoading},
    {"_configure_wide_argv", kWhileLoading},
    {"_initialize_narrow_environment", kWhileLoading},
    {"_initialize_wide_environment", kWhileLoading},
    {"_initterm", kWhileLoading},
    {"_crt_at_quick_exit", kWhileLoading},
    {"_crt_atexit", kWhileLoading},
    {"_execute_onexit_table", kWhileLoading},
    {"_initialize_onexit_table", kWhileLoading},
    {"_register_onexit_function", "without memory a static object is not destroyed at unloading"},
    {"_set_new_mode", kWhileLoading},
    {"__daylight", kWhileLoading},
    {"__timezone", kWhileLoading},
    {"__tzname", kWhileLoading},
    {"_tzset", kWhileLoading},

    {"RaiseException", kUnwinding},
    {"RtlCaptureContext", kUnwinding},
    {"RtlLookupFunctionEntry", kUnwinding},
    {"RtlUnwindEx", kUnwinding},
    {"RtlVirtualUnwind", kUnwinding},

    {"free", kNothingToFail},
    {"memcpy", kPure},
    {"memchr", kPure},
    {"memcmp", kPure},
    {"memmove", kPure},
    {"memset", kPure},
    {"wcsrchr", kPure},
    {"_wcsicmp", kPure},
    {"strlen", kPure},
    {"wcslen", kPure},
    {"strcmp", kPure},
    {"strncmp", kPure},
    {"localeconv", kAlwaysAnswers},
    {"_lock_file", kNothingToFail},
    {"_unlock_file", kNothingToFail},
    {"_errno", kAlwaysAnswers},
    {"__acrt_iob_func", kAlwaysAnswers},
    {"abort", kDying},
    {"calloc", kNeverCalled, false},
    {"wcrtomb", kNeverCalled, false},
    {"mbrtowc", kNeverCalled, false},
    {"TlsAlloc", kNeverCalled, false},
    {"TlsFree", kNeverCalled, false},
    {"TlsGetValue", kNeverCalled, false},
    {"TlsSetValue", kNeverCalled, false},
    {"ReleaseSemaphore", kNeverCalled, false},
    {"CreateSemaphoreW",
     "the runtime's, at the first C++ exception, which no road throws by itself"},
    {"__stdio_common_vfprintf", kNeverCalled, false},
    {"__stdio_common_vfwprintf", kNeverCalled, false},
    {"strerror", kNeverCalled, false},
    {"_read", kNeverCalled, false},
    {"_close", kNeverCalled, false},
    {"rand_s", kNeverCalled, false},
    {"_configthreadlocale", kOtherConversions, false},
    {"setlocale", kOtherConversions, false},
};

}  // namespace

std::span<const Unfailing> UnfailingFunctions()
{
    return kUnfailing;
}

}  // namespace kelvor::trust
