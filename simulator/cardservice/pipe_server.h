#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "handle.h"
#include "lock.h"
#include "secret.h"

namespace kelvor::simulator {

struct PipePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle pipe) noexcept { CloseHandle(pipe); }
};
using UniquePipe = Unique<PipePolicy>;

// What a client gets for its request line.
struct PipeReply {
    enum class Ending {
        kClientLeaves,  // the connection stays until the client has closed it
        kHangUp,        // the server closes it at once; what was written can still be read
    };

    std::string bytes;  // as they go over the pipe, line feed included
    DWORD delayMs = 0;  // before they do
    Ending ending = Ending::kClientLeaves;
    DWORD busyMs = 0;  // afterwards there is no free instance of the pipe for so long
    std::function<void()> afterwards;  // runs when the connection has ended, on the client's thread
};

// Serves a named pipe, one request line and one reply a connection, any number of clients at once,
// each on a thread of its own. Start and Stop on one thread; the handler is called on any.
class PipeServer {
 public:
    // The request comes without its line feed.
    using Handler = std::function<PipeReply(SecretText request)>;

    PipeServer(std::wstring pipeName, Handler handler);
    ~PipeServer();
    PipeServer(const PipeServer&) = delete;
    PipeServer& operator=(const PipeServer&) = delete;

    // Clients can connect when it returns, except that every instance is taken for `busyMs`.
    // Throws std::runtime_error; that the name is in use by another server is such a failure.
    void Start(DWORD busyMs = 0);
    // Breaks every connection off and waits for the threads. No instance is left.
    void Stop() noexcept;

 private:
    struct Client {
        PipeServer* server;
        UniquePipe pipe;
    };
    enum class Accepted { kClient, kBusy, kStop };

    static DWORD WINAPI RunListener(void* server) noexcept;
    static DWORD WINAPI RunClient(void* client) noexcept;
    UniquePipe CreateInstance(bool isFirst) const;
    void Listen();
    Accepted Accept(HANDLE pipe) const;
    void WaitWhileBusy();
    void BecomeBusy(DWORD busyMs);
    void StartClient(UniquePipe pipe);
    void Converse(UniquePipe pipe);
    bool ReadLine(HANDLE pipe, SecretText& line) const;
    void Write(HANDLE pipe, const std::string& bytes) const;
    void WaitForLeave(HANDLE pipe) const;
    void JoinClients(DWORD limitMs) noexcept;

    const std::wstring pipeName_;
    const Handler handler_;
    UniqueKernelObject stop_;       // manual reset
    UniqueKernelObject busy_;       // asks the listener to withdraw its instance
    UniqueKernelObject withdrawn_;  // the listener has done so
    UniqueKernelObject reopened_;   // the listener has an instance again
    UniqueKernelObject listener_;
    UniquePipe next_;  // the instance for the next client; the listener's once it runs
    UniquePipe plug_;  // our own client, which keeps that instance busy from the start
    Lock lock_;
    ULONGLONG busyUntilMs_ = 0;
    std::vector<HANDLE> clients_;  // threads
};

}  // namespace kelvor::simulator
