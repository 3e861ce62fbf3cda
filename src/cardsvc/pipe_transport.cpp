#include "cardsvc/pipe_transport.h"

#include <algorithm>

#include "cardsvc/write_limit.h"
#include "diag/log.h"
#include "guarded.h"
#include "handle.h"

namespace kelvor {
namespace {

constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KelvorSoftCardCtl";
constexpr DWORD kConnectLimitMs = 10000;
constexpr DWORD kConnectStepMs = 250;
constexpr std::size_t kAnswerLimitBytes = 65536;

struct PipePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle pipe) noexcept { CloseHandle(pipe); }
};
using UniquePipe = Unique<PipePolicy>;

// Overwrites a request when the scope that sends it is left, in whatever way.
class WipedOnLeaving {
 public:
    explicit WipedOnLeaving(SecretText& request) noexcept : request_(request) {}
    ~WipedOnLeaving() { request_.Wipe(); }
    WipedOnLeaving(const WipedOnLeaving&) = delete;
    WipedOnLeaving& operator=(const WipedOnLeaving&) = delete;

 private:
    SecretText& request_;
};

HANDLE OpenPipe() noexcept
{
    return CreateFileW(kPipeName, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                       FILE_FLAG_OVERLAPPED, nullptr);
}

// Lets a moment pass before the next attempt. A service without a pipe cannot be waited for.
void WaitForInstance(DWORD openError, DWORD stepMs) noexcept
{
    if (openError != ERROR_PIPE_BUSY || !WaitNamedPipeW(kPipeName, stepMs)) {
        Sleep(stepMs);
    }
}

HRESULT Connect(UniquePipe& pipe, std::wstring& reason)
{
    const ULONGLONG deadline = GetTickCount64() + kConnectLimitMs;
    bool busySeen = false;
    for (;;) {
        pipe.Reset(OpenPipe());
        if (pipe) {
            return S_OK;
        }
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND && !busySeen) {
            LogError("softcardctl: pipe not found - KelvorSoftCard service not running?");
            reason = L"the card service is not running";
            return HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE);
        }
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PIPE_BUSY) {
            LogError("softcardctl: CreateFile(pipe) failed gle=%lu", error);
            reason = L"could not reach the card service";
            return FailureResult(error);
        }
        // A service that was busy and is gone now is between two pipe instances.
        busySeen = true;
        const ULONGLONG now = GetTickCount64();
        if (now >= deadline) {
            LogError("softcardctl: no free pipe instance after %lums (last gle=%lu)",
                     kConnectLimitMs, error);
            reason = L"the card service is busy; try again";
            return HRESULT_FROM_WIN32(ERROR_PIPE_BUSY);
        }
        WaitForInstance(error,
                        static_cast<DWORD>(std::min<ULONGLONG>(kConnectStepMs, deadline - now)));
    }
}

// Writes the whole request and waits until the service has taken it. The handle is an overlapped
// one; without an OVERLAPPED structure the writes block.
bool WriteRequest(HANDLE pipe, std::string_view request, DWORD timeoutMs) noexcept
{
    const WriteLimit limit(pipe, timeoutMs);
    if (!limit.Stands()) {
        return false;
    }
    while (!request.empty()) {
        DWORD written = 0;
        if (!WriteFile(pipe, request.data(), static_cast<DWORD>(request.size()), &written,
                       nullptr) ||
            written == 0) {
            return false;
        }
        request.remove_prefix(written);
    }
    return FlushFileBuffers(pipe) != FALSE;
}

HRESULT SendRequest(SecretText& request, UniquePipe& pipe, DWORD timeoutMs, std::wstring& reason)
{
    const WipedOnLeaving wiped(request);
    const HRESULT hr = Connect(pipe, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (!WriteRequest(pipe.Get(), request.View(), timeoutMs)) {
        const DWORD error = GetLastError();
        LogError("softcardctl: failed to write request gle=%lu", error);
        reason = L"could not send the request to the card service";
        return E_FAIL;
    }
    return S_OK;
}

// Ends a read that waits. The kernel may write to its buffer and to `io` until it has ended.
void GiveReadUp(UniquePipe& pipe, OVERLAPPED& io) noexcept
{
    HANDLE reading = pipe.Get();
    if (!CancelIo(reading)) {
        pipe.Reset();  // which ends it, too
    }
    DWORD moved = 0;
    GetOverlappedResult(reading, &io, &moved, TRUE);  // asks the event, not the pipe
}

// Reads one byte. False when none came within the time, on an error and when the service has
// closed the pipe.
bool ReadByte(UniquePipe& pipe, OVERLAPPED& io, DWORD timeoutMs, char& byte) noexcept
{
    ResetEvent(io.hEvent);
    if (!ReadFile(pipe.Get(), &byte, 1, nullptr, &io)) {
        if (GetLastError() != ERROR_IO_PENDING) {
            return false;
        }
        if (WaitForSingleObject(io.hEvent, timeoutMs) != WAIT_OBJECT_0) {
            GiveReadUp(pipe, io);
            return false;
        }
    }
    DWORD moved = 0;
    return GetOverlappedResult(pipe.Get(), &io, &moved, FALSE) && moved != 0;
}

// Reads up to the line feed, byte by byte, so that nothing behind it is taken. The time limit is
// one for the silence before each byte.
bool ReadAnswer(UniquePipe& pipe, std::string& answer, DWORD timeoutMs)
{
    const UniqueKernelObject event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event) {
        return false;
    }
    OVERLAPPED io{};
    io.hEvent = event.Get();
    for (char byte = 0; ReadByte(pipe, io, timeoutMs, byte);) {
        if (byte == '\n') {
            return !answer.empty();
        }
        answer.push_back(byte);
        if (answer.size() >= kAnswerLimitBytes) {
            return false;
        }
    }
    return false;
}

}  // namespace

HRESULT CardServiceTransact(SecretText& request, std::string& answer, DWORD readTimeoutMs,
                            std::wstring& reason)
{
    answer.clear();
    UniquePipe pipe;
    const HRESULT hr = SendRequest(request, pipe, readTimeoutMs, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (!ReadAnswer(pipe, answer, readTimeoutMs)) {
        answer.clear();
        LogError("softcardctl: no/incomplete response");
        reason = L"the card service did not respond";
        return E_FAIL;
    }
    return S_OK;
}

}  // namespace kelvor
