#include "bare/bare_pipe.h"

#include <windows.h>

#include <cstring>

namespace kelvor::bench {
namespace {

void CALLBACK Cancel(PTP_CALLBACK_INSTANCE, PVOID pipe, PTP_TIMER)
{
    CancelIoEx(pipe, nullptr);
}

void Send(HANDLE pipe, const char* request, DWORD timeoutMs)
{
    PTP_TIMER limit = CreateThreadpoolTimer(&Cancel, pipe, nullptr);
    LARGE_INTEGER due;
    due.QuadPart = -10'000LL * timeoutMs;
    FILETIME time = {due.LowPart, static_cast<DWORD>(due.HighPart)};
    SetThreadpoolTimer(limit, &time, 250, 0);
    DWORD written = 0;
    WriteFile(pipe, request, static_cast<DWORD>(std::strlen(request)), &written, nullptr);
    FlushFileBuffers(pipe);
    SetThreadpoolTimer(limit, nullptr, 0, 0);
    WaitForThreadpoolTimerCallbacks(limit, TRUE);
    CloseThreadpoolTimer(limit);
}

}  // namespace

std::size_t Exchange(const char* request, unsigned long timeoutMs, char* answer)
{
    HANDLE pipe = CreateFileW(L"\\\\.\\pipe\\KelvorSoftCardCtl", GENERIC_READ | GENERIC_WRITE, 0,
                              nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    Send(pipe, request, timeoutMs);
    OVERLAPPED io = {};
    io.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::size_t length = 0;
    for (;; ++length) {
        ResetEvent(io.hEvent);
        if (!ReadFile(pipe, answer + length, 1, nullptr, &io)) {
            WaitForSingleObject(io.hEvent, timeoutMs);
        }
        DWORD moved = 0;
        GetOverlappedResult(pipe, &io, &moved, FALSE);
        if (answer[length] == '\n') {
            break;
        }
    }
    answer[length] = '\0';
    CloseHandle(io.hEvent);
    CloseHandle(pipe);
    return length;
}

}  // namespace kelvor::bench
