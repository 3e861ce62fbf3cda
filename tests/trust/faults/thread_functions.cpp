// Threads, events, waits and what holds the module in memory.
#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

bool IsFinite(HANDLE, DWORD limitMs)
{
    return limitMs != INFINITE;
}

}  // namespace

void AddThreadFunctions(Fallibles& all)
{
    Add<"CreateThread", decltype(CreateThread)>(
        all, Area::kSideIssue,
        {{"ERROR_NOT_ENOUGH_MEMORY", nullptr, ERROR_NOT_ENOUGH_MEMORY},
         {"ERROR_MAX_THRDS_REACHED", nullptr, ERROR_MAX_THRDS_REACHED}});
    Add<"GetModuleHandleExW", decltype(GetModuleHandleExW)>(
        all, Area::kSideIssue, {{"ERROR_MOD_NOT_FOUND", FALSE, ERROR_MOD_NOT_FOUND}});
    Add<"FreeLibrary", decltype(FreeLibrary)>(
        all, Area::kSideIssue,
        {{"ERROR_INVALID_HANDLE", kCarriedOut, FALSE, ERROR_INVALID_HANDLE}});
    // An event is made for the tile, for its key watch and for reading an answer.
    Add<"CreateEventW", decltype(CreateEventW)>(
        all, Area::kService, {{"ERROR_NOT_ENOUGH_MEMORY", nullptr, ERROR_NOT_ENOUGH_MEMORY}});
    Add<"SetEvent", decltype(SetEvent)>(all, Area::kSideIssue,
                                        {{"ERROR_INVALID_HANDLE", FALSE, ERROR_INVALID_HANDLE}});
    Add<"ResetEvent", decltype(ResetEvent)>(
        all, Area::kService, {{"ERROR_INVALID_HANDLE", FALSE, ERROR_INVALID_HANDLE}});
    using Wait = FallibleFunction<"WaitForSingleObject", decltype(WaitForSingleObject)>::Way;
    Add<"WaitForSingleObject", decltype(WaitForSingleObject)>(
        all, Area::kService,
        {{"WAIT_FAILED", WAIT_FAILED, ERROR_INVALID_HANDLE},
         Wait("WAIT_TIMEOUT", WAIT_TIMEOUT).When(&IsFinite)});
    Add<"MsgWaitForMultipleObjectsEx", decltype(MsgWaitForMultipleObjectsEx)>(
        all, Area::kSideIssue, {{"WAIT_FAILED", WAIT_FAILED, ERROR_INVALID_HANDLE}});
    Add<"CreateMutexW", decltype(CreateMutexW)>(
        all, Area::kSideIssue,
        {{"ERROR_ACCESS_DENIED", nullptr, ERROR_ACCESS_DENIED},
         {"ERROR_INVALID_HANDLE", nullptr, ERROR_INVALID_HANDLE}});
    // Of the runtime's lock on the first use of a function's static objects.
    Add<"ReleaseMutex", decltype(ReleaseMutex)>(
        all, Area::kSideIssue, {{"ERROR_NOT_OWNER", kCarriedOut, FALSE, ERROR_NOT_OWNER}});
    Add<"CloseHandle", decltype(CloseHandle)>(
        all, Area::kSideIssue,
        {{"ERROR_INVALID_HANDLE", kCarriedOut, FALSE, ERROR_INVALID_HANDLE}});
}

}  // namespace kelvor::trust
