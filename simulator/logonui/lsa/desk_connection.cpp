#include "logonui/lsa/desk_connection.h"

#include <windows.h>

#include <stdexcept>

namespace kelvor::simulator {
namespace {

[[noreturn]] void Fail(const char* what)
{
    throw std::runtime_error(std::string("the ticket desk ") + what + " (" +
                             std::to_string(WSAGetLastError()) + ")");
}

// Winsock stays for as long as the process does.
void StartWinsock()
{
    WSADATA data = {};
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("Windows has no sockets");
    }
}

}  // namespace

DeskConnection::DeskConnection(unsigned short port)
{
    StartWinsock();
    socket_.Reset(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!socket_ ||
        connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        Fail("cannot be reached");
    }
}

void DeskConnection::Send(std::string_view line)
{
    const std::string text = std::string(line) + "\n";
    std::size_t sent = 0;
    while (sent < text.size()) {
        const int part =
            send(socket_.Get(), text.data() + sent, static_cast<int>(text.size() - sent), 0);
        if (part <= 0) {
            Fail("does not listen");
        }
        sent += static_cast<std::size_t>(part);
    }
}

std::string DeskConnection::Receive()
{
    std::size_t end = received_.find('\n');
    while (end == std::string::npos) {
        char part[1024];
        const int size = recv(socket_.Get(), part, sizeof part, 0);
        if (size <= 0) {
            Fail("has hung up");
        }
        received_.append(part, static_cast<std::size_t>(size));
        end = received_.find('\n');
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return line;
}

}  // namespace kelvor::simulator
