#include "cardservice/pipe_client.h"

#include <stdexcept>

#include "cardservice/pipe_server.h"
#include "files/whole_file.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

[[noreturn]] void Fail(const wchar_t* pipeName, const char* what, DWORD code)
{
    throw std::runtime_error(ToUtf8(pipeName) + ": " + what + ": " + ErrorText(code));
}

UniquePipe Connect(const wchar_t* pipeName, DWORD timeoutMs)
{
    const ULONGLONG deadlineMs = GetTickCount64() + timeoutMs;
    while (true) {
        UniquePipe pipe(CreateFileW(pipeName, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
        if (pipe) {
            return pipe;
        }
        const DWORD code = GetLastError();
        const ULONGLONG nowMs = GetTickCount64();
        if (code != ERROR_PIPE_BUSY || nowMs >= deadlineMs) {
            Fail(pipeName, "cannot be opened", code);
        }
        WaitNamedPipeW(pipeName, static_cast<DWORD>(deadlineMs - nowMs));
    }
}

// Waits for an overlapped call; 0 bytes when it failed, which the last error explains.
DWORD Finish(HANDLE pipe, OVERLAPPED& io, BOOL started, ULONGLONG deadlineMs)
{
    if (!started && GetLastError() != ERROR_IO_PENDING) {
        return 0;
    }
    const ULONGLONG nowMs = GetTickCount64();
    const DWORD limitMs = nowMs < deadlineMs ? static_cast<DWORD>(deadlineMs - nowMs) : 0;
    const bool isLate = WaitForSingleObject(io.hEvent, limitMs) != WAIT_OBJECT_0;
    if (isLate) {
        CancelIoEx(pipe, &io);
    }
    DWORD moved = 0;
    if (!GetOverlappedResult(pipe, &io, &moved, TRUE)) {
        moved = 0;
    }
    if (moved == 0 && isLate) {
        SetLastError(ERROR_TIMEOUT);
    }
    return moved;
}

}  // namespace

SecretText ExchangeLine(const wchar_t* pipeName, std::string_view line, DWORD timeoutMs)
{
    const UniquePipe pipe = Connect(pipeName, timeoutMs);
    const UniqueKernelObject event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const ULONGLONG deadlineMs = GetTickCount64() + timeoutMs;

    std::string request(line);
    request += '\n';
    OVERLAPPED io{};
    io.hEvent = event.Get();
    BOOL started =
        WriteFile(pipe.Get(), request.data(), static_cast<DWORD>(request.size()), nullptr, &io);
    if (Finish(pipe.Get(), io, started, deadlineMs) != request.size()) {
        Fail(pipeName, "cannot be written to", GetLastError());
    }

    SecretText answer;
    SecretText chunk(4096);
    while (true) {
        io = {};
        io.hEvent = event.Get();
        started =
            ReadFile(pipe.Get(), chunk.Data(), static_cast<DWORD>(chunk.Size()), nullptr, &io);
        const DWORD readBytes = Finish(pipe.Get(), io, started, deadlineMs);
        if (readBytes == 0) {
            Fail(pipeName, "gave no whole answer", GetLastError());
        }
        const std::string_view text = chunk.View().substr(0, readBytes);
        const std::size_t end = text.find('\n');
        answer.Append(text.substr(0, end));
        if (end != std::string_view::npos) {
            return answer;
        }
    }
}

}  // namespace kelvor::simulator
