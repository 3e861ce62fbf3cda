#include "cardservice/pipe_server.h"

#include <memory>
#include <stdexcept>

#include "files/whole_file.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

constexpr DWORD kBufferBytes = 64 * 1024;
constexpr std::size_t kLongestRequestBytes = 1024 * 1024;
constexpr DWORD kRequestLimitMs = 30'000;  // a client that sends nothing is left

UniqueKernelObject NewEvent(bool isManual)
{
    UniqueKernelObject event(CreateEventW(nullptr, isManual, FALSE, nullptr));
    if (!event) {
        throw std::runtime_error("CreateEvent: " + ErrorText(GetLastError()));
    }
    return event;
}

// One overlapped operation on a pipe. The kernel is done with its buffer when Finish returns.
class PipeIo {
 public:
    PipeIo(HANDLE pipe, HANDLE stop) : pipe_(pipe), stop_(stop), event_(NewEvent(true))
    {
        io_.hEvent = event_.Get();
    }

    OVERLAPPED* Overlapped() noexcept { return &io_; }
    HANDLE Event() const noexcept { return event_.Get(); }

    // `started` is what the operation's function answered. True when it completed; false when it
    // failed, took longer than `limitMs` or the server stops.
    bool Finish(BOOL started, DWORD limitMs, DWORD& movedBytes) noexcept
    {
        movedBytes = 0;
        if (!started && GetLastError() != ERROR_IO_PENDING) {
            return false;
        }
        const HANDLE handles[] = {event_.Get(), stop_};
        if (WaitForMultipleObjects(2, handles, FALSE, limitMs) != WAIT_OBJECT_0) {
            Cancel();
        }
        return GetOverlappedResult(pipe_, &io_, &movedBytes, TRUE) != FALSE;
    }

    void Cancel() noexcept { CancelIoEx(pipe_, &io_); }

 private:
    HANDLE pipe_;
    HANDLE stop_;
    UniqueKernelObject event_;
    OVERLAPPED io_{};
};

}  // namespace

PipeServer::PipeServer(std::wstring pipeName, Handler handler)
    : pipeName_(std::move(pipeName)),
      handler_(std::move(handler)),
      stop_(NewEvent(true)),
      busy_(NewEvent(false)),
      withdrawn_(NewEvent(false)),
      reopened_(NewEvent(false))
{
}

PipeServer::~PipeServer()
{
    Stop();
}

void PipeServer::Start(DWORD busyMs)
{
    ResetEvent(stop_.Get());
    next_ = CreateInstance(true);
    if (busyMs > 0) {
        plug_.Reset(CreateFileW(pipeName_.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, 0, nullptr));
    }
    busyUntilMs_ = GetTickCount64() + busyMs;
    listener_.Reset(CreateThread(nullptr, 0, RunListener, this, 0, nullptr));
    if (!listener_) {
        throw std::runtime_error("CreateThread: " + ErrorText(GetLastError()));
    }
}

void PipeServer::Stop() noexcept
{
    SetEvent(stop_.Get());
    if (listener_) {
        WaitForSingleObject(listener_.Get(), INFINITE);
        listener_.Reset();
    }
    JoinClients(INFINITE);
    next_.Reset();
}

DWORD WINAPI PipeServer::RunListener(void* server) noexcept
{
    try {
        static_cast<PipeServer*>(server)->Listen();
        return 0;
    } catch (const std::exception&) {
        return 1;  // the pipe has no further instance: clients find it busy
    }
}

DWORD WINAPI PipeServer::RunClient(void* client) noexcept
{
    const std::unique_ptr<Client> owned(static_cast<Client*>(client));
    try {
        owned->server->Converse(std::move(owned->pipe));
        return 0;
    } catch (const std::exception&) {
        return 1;  // the connection ends without an answer
    }
}

UniquePipe PipeServer::CreateInstance(bool isFirst) const
{
    UniquePipe pipe(CreateNamedPipeW(
        pipeName_.c_str(),
        PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | (isFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0),
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
        PIPE_UNLIMITED_INSTANCES, kBufferBytes, kBufferBytes, 0, nullptr));
    if (!pipe) {
        const DWORD code = GetLastError();
        const bool isTaken = isFirst && (code == ERROR_ACCESS_DENIED || code == ERROR_PIPE_BUSY);
        throw std::runtime_error(ToUtf8(pipeName_) + ": " +
                                 (isTaken ? "another program serves this pipe" : ErrorText(code)));
    }
    return pipe;
}

void PipeServer::Listen()
{
    if (plug_) {
        WaitWhileBusy();
        const UniquePipe plugged = std::move(next_);
        next_ = CreateInstance(false);
        plug_.Reset();
    }
    while (true) {
        if (!next_) {
            next_ = CreateInstance(false);
        }
        switch (Accept(next_.Get())) {
            case Accepted::kStop:
                return;
            case Accepted::kBusy:
                next_.Reset();
                SetEvent(withdrawn_.Get());
                WaitWhileBusy();
                next_ = CreateInstance(false);
                SetEvent(reopened_.Get());
                break;
            case Accepted::kClient: {
                // The pipe never lacks an instance, or a client would take it for gone.
                UniquePipe connected = std::move(next_);
                next_ = CreateInstance(false);
                StartClient(std::move(connected));
                break;
            }
        }
    }
}

PipeServer::Accepted PipeServer::Accept(HANDLE pipe) const
{
    PipeIo io(pipe, stop_.Get());
    if (WaitForSingleObject(stop_.Get(), 0) == WAIT_OBJECT_0) {
        return Accepted::kStop;
    }
    if (!ConnectNamedPipe(pipe, io.Overlapped())) {
        const DWORD code = GetLastError();
        if (code == ERROR_PIPE_CONNECTED) {
            return Accepted::kClient;
        }
        if (code != ERROR_IO_PENDING) {
            return Accepted::kClient;  // came and went: reading from it will tell
        }
    }
    const HANDLE handles[] = {io.Event(), stop_.Get(), busy_.Get()};
    const DWORD result = WaitForMultipleObjects(3, handles, FALSE, INFINITE);
    if (result != WAIT_OBJECT_0) {
        io.Cancel();
    }
    DWORD moved = 0;
    const bool isConnected = GetOverlappedResult(pipe, io.Overlapped(), &moved, TRUE) != FALSE;
    if (result == WAIT_OBJECT_0 + 1) {
        return Accepted::kStop;
    }
    if (result == WAIT_OBJECT_0 + 2) {
        if (!isConnected) {
            return Accepted::kBusy;
        }
        SetEvent(busy_.Get());  // this client came first
    }
    return Accepted::kClient;
}

void PipeServer::WaitWhileBusy()
{
    const ULONGLONG untilMs = lock_.With([&] { return busyUntilMs_; });
    const ULONGLONG nowMs = GetTickCount64();
    if (nowMs < untilMs) {
        WaitForSingleObject(stop_.Get(), static_cast<DWORD>(untilMs - nowMs));
    }
}

void PipeServer::BecomeBusy(DWORD busyMs)
{
    lock_.With([&] { busyUntilMs_ = GetTickCount64() + busyMs; });
    SetEvent(busy_.Get());
    const HANDLE handles[] = {withdrawn_.Get(), stop_.Get()};
    WaitForMultipleObjects(2, handles, FALSE, INFINITE);
}

void PipeServer::StartClient(UniquePipe pipe)
{
    JoinClients(0);
    auto client = std::make_unique<Client>(Client{this, std::move(pipe)});
    const HANDLE thread = CreateThread(nullptr, 0, RunClient, client.get(), 0, nullptr);
    if (thread) {
        static_cast<void>(client.release());  // the thread's now
        lock_.With([&] { clients_.push_back(thread); });
    }
}

void PipeServer::Converse(UniquePipe pipe)
{
    SecretText request;
    if (!ReadLine(pipe.Get(), request)) {
        return;
    }
    const PipeReply reply = handler_(std::move(request));
    if (reply.delayMs > 0) {
        WaitForSingleObject(stop_.Get(), reply.delayMs);
    }
    if (reply.busyMs > 0) {
        BecomeBusy(reply.busyMs);
    }
    Write(pipe.Get(), reply.bytes);
    if (reply.ending == PipeReply::Ending::kClientLeaves) {
        WaitForLeave(pipe.Get());
    }
    if (reply.busyMs > 0) {
        // This last instance is what makes the pipe busy instead of gone.
        const HANDLE handles[] = {reopened_.Get(), stop_.Get()};
        WaitForMultipleObjects(2, handles, FALSE, INFINITE);
    }
    pipe.Reset();
    if (reply.afterwards) {
        reply.afterwards();
    }
}

bool PipeServer::ReadLine(HANDLE pipe, SecretText& line) const
{
    SecretText chunk(4096);
    while (line.Size() < kLongestRequestBytes) {
        PipeIo io(pipe, stop_.Get());
        const BOOL started = ReadFile(pipe, chunk.Data(), static_cast<DWORD>(chunk.Size()), nullptr,
                                      io.Overlapped());
        DWORD readBytes = 0;
        if (!io.Finish(started, kRequestLimitMs, readBytes) || readBytes == 0) {
            return false;
        }
        const std::string_view text = chunk.View().substr(0, readBytes);
        const std::size_t end = text.find('\n');
        line.Append(text.substr(0, end));
        if (end != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

void PipeServer::Write(HANDLE pipe, const std::string& bytes) const
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        PipeIo io(pipe, stop_.Get());
        const BOOL started =
            WriteFile(pipe, bytes.data() + written, static_cast<DWORD>(bytes.size() - written),
                      nullptr, io.Overlapped());
        DWORD moved = 0;
        if (!io.Finish(started, INFINITE, moved) || moved == 0) {
            return;  // the client has gone
        }
        written += moved;
    }
}

void PipeServer::WaitForLeave(HANDLE pipe) const
{
    char ignored[256];
    DWORD readBytes = 0;
    do {
        PipeIo io(pipe, stop_.Get());
        const BOOL started = ReadFile(pipe, ignored, sizeof(ignored), nullptr, io.Overlapped());
        if (!io.Finish(started, INFINITE, readBytes)) {
            return;
        }
    } while (readBytes > 0);
}

void PipeServer::JoinClients(DWORD limitMs) noexcept
{
    std::vector<HANDLE> threads;
    lock_.With([&] { threads.swap(clients_); });
    std::vector<HANDLE> running;
    for (const HANDLE thread : threads) {
        if (WaitForSingleObject(thread, limitMs) == WAIT_OBJECT_0) {
            CloseHandle(thread);
        } else {
            running.push_back(thread);
        }
    }
    lock_.With([&] { clients_.insert(clients_.end(), running.begin(), running.end()); });
}

}  // namespace kelvor::simulator
