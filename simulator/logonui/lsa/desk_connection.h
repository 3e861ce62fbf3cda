#pragma once

#include <winsock2.h>

#include <string>
#include <string_view>

#include "handle.h"

namespace kelvor::simulator {

struct SocketPolicy {
    using Handle = SOCKET;
    static Handle Empty() noexcept { return INVALID_SOCKET; }
    static void Close(Handle socket) noexcept { closesocket(socket); }
};

// Lines of text to and from a program that listens on a port of this machine. One thread at a time;
// each call throws std::runtime_error when the other side cannot be had.
class DeskConnection {
 public:
    explicit DeskConnection(unsigned short port);

    void Send(std::string_view line);
    // The next line without its line feed.
    std::string Receive();

 private:
    Unique<SocketPolicy> socket_;
    std::string received_;
};

}  // namespace kelvor::simulator
