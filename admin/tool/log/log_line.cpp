#include "log/log_line.h"

#include <charconv>
#include <chrono>
#include <utility>

namespace kelvor::admin {
namespace {

// Reads from the front of a text what a line is made of; once something is missing all else fails.
class Reader {
 public:
    explicit Reader(std::string_view text) noexcept : rest_(text) {}

    // A number of so many digits, or of any count behind which blanks are skipped.
    std::uint32_t Number(std::size_t digits)
    {
        std::uint32_t number = 0;
        const char* const begin = rest_.data();
        const std::size_t size = digits == 0 ? rest_.size() : digits;
        if (rest_.size() < size) {
            ok_ = false;
            return 0;
        }
        const auto [end, error] = std::from_chars(begin, begin + size, number);
        const auto taken = static_cast<std::size_t>(end - begin);
        ok_ = ok_ && error == std::errc() && (digits == 0 || taken == digits);
        rest_.remove_prefix(taken);
        return number;
    }
    void Literal(std::string_view text)
    {
        ok_ = ok_ && rest_.starts_with(text);
        if (ok_) {
            rest_.remove_prefix(text.size());
        }
    }
    bool Has(std::string_view text) const { return ok_ && rest_.starts_with(text); }
    void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }
    std::string_view Word()
    {
        const std::string_view word = rest_.substr(0, rest_.find(' '));
        rest_.remove_prefix(word.size());
        return word;
    }
    // A number of two digits, up to `most`.
    std::uint32_t TwoDigits(std::uint32_t most)
    {
        const std::uint32_t number = Number(2);
        ok_ = ok_ && number <= most;
        return number;
    }
    std::string_view Rest() const noexcept { return rest_; }
    bool Ok() const noexcept { return ok_; }

 private:
    std::string_view rest_;
    bool ok_ = true;
};

std::optional<std::int64_t> ReadDay(Reader& reader)
{
    using namespace std::chrono;
    const auto yearNumber = static_cast<int>(reader.Number(4));
    reader.Literal("-");
    const std::uint32_t monthNumber = reader.Number(2);
    reader.Literal("-");
    const std::uint32_t dayNumber = reader.Number(2);
    const year_month_day date = year(yearNumber) / month(monthNumber) / day(dayNumber);
    if (!reader.Ok() || !date.ok()) {
        return std::nullopt;
    }
    return duration_cast<milliseconds>(sys_days{date}.time_since_epoch()).count();
}

// Hours and minutes; seconds and milliseconds when they are there.
std::int64_t ReadClock(Reader& reader)
{
    std::int64_t ms = std::int64_t{reader.TwoDigits(23)} * 3'600'000;
    reader.Literal(":");
    ms += std::int64_t{reader.TwoDigits(59)} * 60'000;
    if (reader.Has(":")) {
        reader.Literal(":");
        ms += std::int64_t{reader.TwoDigits(59)} * 1'000;
    }
    if (reader.Has(".")) {
        reader.Literal(".");
        ms += reader.Number(3);
    }
    return ms;
}

std::optional<LogLine> ParseLine(std::string_view text)
{
    constexpr std::size_t kTimeChars = 23;
    LogLine line;
    Reader reader(text);
    const std::optional<std::int64_t> dayMs = ReadDay(reader);
    if (!dayMs) {
        return std::nullopt;
    }
    reader.Literal(" ");
    line.time = text.substr(0, kTimeChars);
    line.timeMs = *dayMs + ReadClock(reader);
    reader.Literal("  pid=");
    line.processId = reader.Number(0);
    reader.SkipBlanks();
    reader.Literal("tid=");
    line.threadId = reader.Number(0);
    reader.SkipBlanks();
    line.level = reader.Word();
    reader.SkipBlanks();
    line.message = reader.Rest();
    return reader.Ok() ? std::optional(std::move(line)) : std::nullopt;
}

}  // namespace

std::vector<LogLine> ParseLog(std::string_view text)
{
    std::vector<LogLine> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view one = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (one.ends_with('\r')) {
            one.remove_suffix(1);
        }
        if (std::optional<LogLine> line = ParseLine(one)) {
            lines.push_back(std::move(*line));
        } else if (!lines.empty()) {
            lines.back().message.append("\n").append(one);
        }
    }
    return lines;
}

std::optional<std::int64_t> ParseTime(std::string_view text)
{
    Reader reader(text);
    const std::optional<std::int64_t> dayMs = ReadDay(reader);
    if (!dayMs || reader.Rest().empty()) {
        return dayMs;
    }
    reader.Literal(" ");
    const std::int64_t clockMs = ReadClock(reader);
    if (!reader.Ok() || !reader.Rest().empty()) {
        return std::nullopt;
    }
    return *dayMs + clockMs;
}

std::string_view Between(std::string_view text, std::string_view before, std::string_view after)
{
    const std::size_t begin = text.find(before);
    if (begin == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(begin + before.size());
    const std::size_t end = text.find(after);
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end);
}

}  // namespace kelvor::admin
