#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kelvor::test {

// One line of the module's log.
struct LogLine {
    std::string time;  // "2025-03-07 08:15:02.347"
    DWORD processId = 0;
    DWORD threadId = 0;
    std::string level;
    std::string message;  // UTF-8
};

// Reads the module's log file. Each question reads it afresh.
class LogReader {
 public:
    explicit LogReader(std::wstring file) : file_(std::move(file)) {}

    // The file's bytes; empty when there is none.
    std::string Bytes() const;
    // Its lines; one that does not have the log's format comes with an empty level.
    std::vector<LogLine> Lines() const;
    // The messages of one level ("" for all), in order.
    std::vector<std::string> Messages(const char* level = "") const;

    bool Has(const char* level, const std::string& message) const;
    std::size_t Count(const char* level, const std::string& message) const;
    // A line whose message begins so.
    bool HasBeginning(const char* level, const std::string& beginning) const;
    // Where the first such line stands; npos when there is none.
    std::size_t Find(const char* level, const std::string& message) const;
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);
    // The thread that wrote the first such line; 0 when there is none.
    DWORD ThreadOf(const char* level, const std::string& message) const;
    // Empties the file.
    void Forget() const;

 private:
    std::wstring file_;
};

}  // namespace kelvor::test
