#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvor::fidelity {

// Lines of text over a connected socket that somebody else owns and closes. One thread at a time.
class LineChannel {
 public:
    explicit LineChannel(int socket) noexcept : socket_(socket) {}

    // False when the other side is gone.
    [[nodiscard]] bool Send(std::string_view line) const;
    // The next line without its line feed; nothing when the other side is gone or talks too much.
    [[nodiscard]] std::optional<std::string> Receive() const;

 private:
    const int socket_;
};

// What follows `word` and a blank at the begin of a line; nothing when it begins otherwise.
std::optional<std::string> After(std::string_view line, std::string_view word);

}  // namespace kelvor::fidelity
