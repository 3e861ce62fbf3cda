#include "line_channel.h"

#include <sys/socket.h>

#include <cstddef>

namespace kelvor::fidelity {

bool LineChannel::Send(std::string_view line) const
{
    const std::string text = std::string(line) + "\n";
    std::size_t sent = 0;
    while (sent < text.size()) {
        const auto part = send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (part <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(part);
    }
    return true;
}

// Byte by byte: two objects read the same socket in turn, and neither may keep what is the other's.
std::optional<std::string> LineChannel::Receive() const
{
    constexpr std::size_t kMostBytes = 64 * 1024;
    std::string line;
    char next = 0;
    while (line.size() < kMostBytes && recv(socket_, &next, 1, 0) == 1) {
        if (next == '\n') {
            return line;
        }
        line.push_back(next);
    }
    return std::nullopt;
}

std::optional<std::string> After(std::string_view line, std::string_view word)
{
    if (line.size() <= word.size() || line.substr(0, word.size()) != word ||
        line[word.size()] != ' ') {
        return std::nullopt;
    }
    return std::string(line.substr(word.size() + 1));
}

}  // namespace kelvor::fidelity
