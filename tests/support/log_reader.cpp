#include "support/log_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>
#include <system_error>

namespace kelvor::test {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// A matcher of the whole line would need a stack as deep as the message is long.
LogLine Parse(const std::string& text)
{
    static const std::regex head(
        R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})  pid=(\d+) * tid=(\d+) *  (INFO |WARN |ERROR)  )");
    std::smatch match;
    LogLine line;
    if (!std::regex_search(text, match, head, std::regex_constants::match_continuous) ||
        match.suffix().str().find_first_of("\r\n") != std::string::npos) {
        line.message = text;
        return line;
    }
    line.time = match[1];
    line.processId = std::strtoul(match[2].str().c_str(), nullptr, 10);
    line.threadId = std::strtoul(match[3].str().c_str(), nullptr, 10);
    line.level = match[4];
    line.level.erase(line.level.find_last_not_of(' ') + 1);
    line.message = match.suffix();
    return line;
}

}  // namespace

std::string LogReader::Bytes() const
{
    const std::unique_ptr<std::FILE, CloseFile> file(_wfopen(file_.c_str(), L"rb"));
    std::string bytes;
    if (file == nullptr) {
        return bytes;
    }
    char piece[4096];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, file.get())) {
        bytes.append(piece, count);
    }
    return bytes;
}

std::vector<LogLine> LogReader::Lines() const
{
    const std::string bytes = Bytes();
    std::vector<LogLine> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = std::min(bytes.find("\r\n", start), bytes.size());
        lines.push_back(Parse(bytes.substr(start, end - start)));
        start = end + 2;
    }
    return lines;
}

std::vector<std::string> LogReader::Messages(const char* level) const
{
    std::vector<std::string> messages;
    for (const LogLine& line : Lines()) {
        if (*level == '\0' || line.level == level) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

bool LogReader::Has(const char* level, const std::string& message) const
{
    return Find(level, message) != npos;
}

std::size_t LogReader::Count(const char* level, const std::string& message) const
{
    return static_cast<std::size_t>(std::ranges::count_if(Lines(), [&](const LogLine& line) {
        return line.level == level && line.message == message;
    }));
}

bool LogReader::HasBeginning(const char* level, const std::string& beginning) const
{
    return std::ranges::any_of(Lines(), [&](const LogLine& line) {
        return line.level == level && line.message.starts_with(beginning);
    });
}

std::size_t LogReader::Find(const char* level, const std::string& message) const
{
    const std::vector<LogLine> lines = Lines();
    const auto found = std::ranges::find_if(
        lines, [&](const LogLine& line) { return line.level == level && line.message == message; });
    return found != lines.end() ? static_cast<std::size_t>(found - lines.begin()) : npos;
}

DWORD LogReader::ThreadOf(const char* level, const std::string& message) const
{
    const std::size_t index = Find(level, message);
    return index != npos ? Lines()[index].threadId : 0;
}

void LogReader::Forget() const
{
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
}

}  // namespace kelvor::test
