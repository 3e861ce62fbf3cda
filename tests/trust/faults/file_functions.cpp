// The card service's pipe and the log's files.
#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

void AddPipeFunctions(Fallibles& all)
{
    Add<"CreateFileW", decltype(CreateFileW)>(
        all, Area::kService,
        {{"ERROR_FILE_NOT_FOUND", INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND},
         {"ERROR_PIPE_BUSY", INVALID_HANDLE_VALUE, ERROR_PIPE_BUSY},
         {"ERROR_ACCESS_DENIED", INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED},
         {"ERROR_NOT_ENOUGH_MEMORY", INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY}});
    Add<"WaitNamedPipeW", decltype(WaitNamedPipeW)>(
        all, Area::kService,
        {{"ERROR_SEM_TIMEOUT", FALSE, ERROR_SEM_TIMEOUT},
         {"ERROR_FILE_NOT_FOUND", FALSE, ERROR_FILE_NOT_FOUND}});
    using Write = BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);
    Add<"WriteFile", Write>(all, Area::kService,
                            {{"ERROR_NO_DATA", FALSE, ERROR_NO_DATA},
                             {"ERROR_NOT_ENOUGH_QUOTA", FALSE, ERROR_NOT_ENOUGH_QUOTA},
                             {"one byte written", kByHand,
                              [](auto original, HANDLE pipe, LPCVOID data, DWORD, LPDWORD written,
                                 LPOVERLAPPED io) { return original(pipe, data, 1, written, io); }},
                             {"nothing written", kByHand,
                              [](auto, HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED) {
                                  *written = 0;
                                  return TRUE;
                              }}});
    Add<"FlushFileBuffers", decltype(FlushFileBuffers)>(
        all, Area::kService,
        {{"ERROR_BROKEN_PIPE", FALSE, ERROR_BROKEN_PIPE},
         {"ERROR_OPERATION_ABORTED", FALSE, ERROR_OPERATION_ABORTED}});
    Add<"ReadFile", decltype(ReadFile)>(
        all, Area::kService,
        {{"ERROR_BROKEN_PIPE", FALSE, ERROR_BROKEN_PIPE},
         {"ERROR_INVALID_USER_BUFFER", FALSE, ERROR_INVALID_USER_BUFFER}});
    // Only after the operation has ended: what it answers before that is no failure of its own.
    Add<"GetOverlappedResult", decltype(GetOverlappedResult)>(
        all, Area::kService,
        {{"ERROR_BROKEN_PIPE", kCarriedOut, FALSE, ERROR_BROKEN_PIPE},
         {"ERROR_OPERATION_ABORTED", kCarriedOut, FALSE, ERROR_OPERATION_ABORTED},
         {"nothing read", kByHand,
          [](auto original, HANDLE pipe, LPOVERLAPPED io, LPDWORD moved, BOOL wait) {
              static_cast<void>(original(pipe, io, moved, wait));
              *moved = 0;
              return TRUE;
          }}});
    Add<"CancelIo", decltype(CancelIo)>(all, Area::kService,
                                        {{"ERROR_INVALID_HANDLE", FALSE, ERROR_INVALID_HANDLE}});
    Add<"CancelIoEx", decltype(CancelIoEx)>(all, Area::kService,
                                            {{"ERROR_NOT_FOUND", FALSE, ERROR_NOT_FOUND}});
    Add<"CreateThreadpoolTimer", decltype(CreateThreadpoolTimer)>(
        all, Area::kService, {{"ERROR_NOT_ENOUGH_MEMORY", nullptr, ERROR_NOT_ENOUGH_MEMORY}});
}

void AddLogFunctions(Fallibles& all)
{
    Add<"GetEnvironmentVariableW", decltype(GetEnvironmentVariableW)>(
        all, Area::kSideIssue,
        {{"ERROR_ENVVAR_NOT_FOUND", DWORD{0}, ERROR_ENVVAR_NOT_FOUND},
         {"longer than the buffer", DWORD{5000}}});
    Add<"CreateDirectoryW", decltype(CreateDirectoryW)>(
        all, Area::kSideIssue,
        {{"ERROR_ACCESS_DENIED", FALSE, ERROR_ACCESS_DENIED},
         {"ERROR_PATH_NOT_FOUND", FALSE, ERROR_PATH_NOT_FOUND}});
    Add<"GetFileAttributesExW", decltype(GetFileAttributesExW)>(
        all, Area::kSideIssue,
        {{"ERROR_ACCESS_DENIED", FALSE, ERROR_ACCESS_DENIED},
         {"ERROR_FILE_NOT_FOUND", FALSE, ERROR_FILE_NOT_FOUND}});
    Add<"MoveFileExW", decltype(MoveFileExW)>(
        all, Area::kSideIssue,
        {{"ERROR_SHARING_VIOLATION", FALSE, ERROR_SHARING_VIOLATION},
         {"ERROR_ACCESS_DENIED", FALSE, ERROR_ACCESS_DENIED}});
}

}  // namespace

void AddFileFunctions(Fallibles& all)
{
    AddPipeFunctions(all);
    AddLogFunctions(all);
}

}  // namespace kelvor::trust
