#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::admin {

// One line of the module's log. Texts are UTF-8.
struct LogLine {
    std::string time;         // as it stands: "2026-11-21 16:23:02.123", the PC's local time
    std::int64_t timeMs = 0;  // the same in milliseconds since 1970-01-01, for differences
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::string level;  // "INFO", "WARN", "ERROR"
    std::string message;

    bool StartsWith(std::string_view text) const { return message.starts_with(text); }
};

// The lines of a log. What does not begin like a line belongs to the message before it, since a
// text of the card service may hold a line feed; at the beginning it is left out.
std::vector<LogLine> ParseLog(std::string_view text);

// Milliseconds since 1970-01-01 of "2026-11-21", "2026-11-21 16:23", with seconds or milliseconds;
// nothing for any other text and for days that do not exist.
std::optional<std::int64_t> ParseTime(std::string_view text);

// What stands between the first `before` and the next `after` behind it; empty when that is
// nowhere.
std::string_view Between(std::string_view text, std::string_view before, std::string_view after);

}  // namespace kelvor::admin
