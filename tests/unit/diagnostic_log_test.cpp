#include "diag/log.h"

#include <windows.h>

#include <locale.h>

#include <doctest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "imports/import_table.h"
#include "support/isolation.h"
#include "support/log_reader.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;
using kelvor::test::LogLine;
using kelvor::test::LogReader;
using kelvor::test::ProgramDataRoom;

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPrefixChars =
    sizeof "2025-03-07 08:15:02.347  pid=812   tid=4460   INFO   " - 1;
constexpr const wchar_t* kFolderInBase = L"\\KelvorDirectoryFidoLogon\\Logs";

// Makes the log say 7 March 2025, 08:15:02.347, process 812, thread 4460.
class FixedMoment {
    static void WINAPI LocalTime(SYSTEMTIME* time)
    {
        *time = {};
        time->wYear = 2025;
        time->wMonth = 3;
        time->wDay = 7;
        time->wHour = 8;
        time->wMinute = 15;
        time->wSecond = 2;
        time->wMilliseconds = 347;
    }
    static DWORD WINAPI ProcessId() { return 812; }
    static DWORD WINAPI ThreadId() { return 4460; }

    ImportPatch time_{GetModuleHandleW(nullptr), "GetLocalTime", &LocalTime};
    ImportPatch process_{GetModuleHandleW(nullptr), "GetCurrentProcessId", &ProcessId};
    ImportPatch thread_{GetModuleHandleW(nullptr), "GetCurrentThreadId", &ThreadId};
};

std::string ReadBytes(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteBytes(const fs::path& file, const std::string& bytes)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string OnlyMessage(const ProgramDataRoom& room)
{
    const std::vector<std::string> messages = LogReader(room.LogFile()).Messages();
    return messages.size() == 1 ? messages[0]
                                : "not one line but " + std::to_string(messages.size());
}

// Lets ProgramData be an existing folder whose path has `lengthChars` characters.
fs::path UseBaseOfLength(const ProgramDataRoom& room, std::size_t lengthChars)
{
    std::wstring base = room.Path();
    while (base.size() < lengthChars) {
        const std::size_t missing = lengthChars - base.size() - 1;
        base += L'\\' + std::wstring(missing > 120 ? 60 : missing, L'x');
    }
    fs::create_directories(base);
    SetEnvironmentVariableW(L"ProgramData", base.c_str());
    return base;
}

std::size_t EntriesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

}  // namespace

TEST_CASE("A line reads as promised, byte for byte")
{
    const ProgramDataRoom room;
    const FixedMoment moment;
    LogInfo("SetUsageScenario: cpus=%d", 1);
    CHECK(ReadBytes(room.LogFile()) ==
          "2025-03-07 08:15:02.347  pid=812   tid=4460   INFO   SetUsageScenario: cpus=1\r\n");
}

TEST_CASE("Each level fills five columns")
{
    const ProgramDataRoom room;
    const FixedMoment moment;
    LogInfo("a");
    LogWarn("b");
    LogError("c");
    CHECK(ReadBytes(room.LogFile()) ==
          "2025-03-07 08:15:02.347  pid=812   tid=4460   INFO   a\r\n"
          "2025-03-07 08:15:02.347  pid=812   tid=4460   WARN   b\r\n"
          "2025-03-07 08:15:02.347  pid=812   tid=4460   ERROR  c\r\n");
}

TEST_CASE("A line without a level is an INFO line")
{
    const ProgramDataRoom room;
    const FixedMoment moment;
    Log(kLogComponent, nullptr, "text");
    CHECK(ReadBytes(room.LogFile()) ==
          "2025-03-07 08:15:02.347  pid=812   tid=4460   INFO   text\r\n");
}

TEST_CASE("A line without a component writes nothing")
{
    const ProgramDataRoom room;
    Log(nullptr, "INFO", "text");
    CHECK(EntriesIn(room.Path()) == 0);
}

TEST_CASE("A line without a format writes nothing")
{
    const ProgramDataRoom room;
    const char* const none = nullptr;
    Log(kLogComponent, "INFO", none);
    CHECK(EntriesIn(room.Path()) == 0);
}

TEST_CASE("Wide arguments are written as UTF-8")
{
    const ProgramDataRoom room;
    LogInfo("status -> '%ls' (%d)", L"Signing in with your security key\u2026 \u2014 J\u00FCrgen",
            1);
    CHECK(
        OnlyMessage(room) ==
        "status -> 'Signing in with your security key\xE2\x80\xA6 \xE2\x80\x94 J\xC3\xBCrgen' (1)");
}

TEST_CASE("A missing wide argument is written as (null)")
{
    const ProgramDataRoom room;
    const wchar_t* const none = nullptr;
    LogInfo("name='%ls'", none);
    CHECK(OnlyMessage(room) == "name='(null)'");
}

TEST_CASE("Every kind of argument keeps its place and form")
{
    const ProgramDataRoom room;
    const std::wstring wide = L"CORP\\alice";
    const std::string narrow = "A1B2";
    LogError("%ls %s hr=0x%08X flags=0x%02X %lu %zu %d", wide, narrow, E_ACCESSDENIED, 5,
             4000000000UL, std::size_t{78}, -3);
    CHECK(OnlyMessage(room) == "CORP\\alice A1B2 hr=0x80070005 flags=0x05 4000000000 78 -3");
}

TEST_CASE("A message has no length limit")
{
    const ProgramDataRoom room;
    const std::string text(100000, 'm');
    LogInfo("%s", text);
    CHECK(ReadBytes(room.LogFile()).ends_with("  " + text + "\r\n"));
}

TEST_CASE("The list form writes what the variadic form writes")
{
    const ProgramDataRoom room;
    const auto viaList = [](const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        LogV(kLogComponent, "WARN", format, arguments);
        va_end(arguments);
    };
    viaList("%d of %ls", 2, L"three");
    const std::vector<LogLine> lines = LogReader(room.LogFile()).Lines();
    REQUIRE(lines.size() == 1);
    CHECK(lines[0].level == "WARN");
    CHECK(lines[0].message == "2 of three");
}

TEST_CASE("A line tells its process and thread")
{
    const ProgramDataRoom room;
    LogInfo("text");
    const std::vector<LogLine> lines = LogReader(room.LogFile()).Lines();
    REQUIRE(lines.size() == 1);
    CHECK(lines[0].processId == GetCurrentProcessId());
    CHECK(lines[0].threadId == GetCurrentThreadId());
}

TEST_CASE("A log that has reached one mebibyte is put aside and begun anew")
{
    const ProgramDataRoom room;
    const std::string old(0x100000, 'o');
    WriteBytes(room.LogFile(), old);
    LogInfo("first of the new file");
    CHECK(ReadBytes(room.LogFile() + L".1") == old);
    CHECK(OnlyMessage(room) == "first of the new file");
}

TEST_CASE("A log one byte short of one mebibyte is continued")
{
    const ProgramDataRoom room;
    WriteBytes(room.LogFile(), std::string(0xFFFFF, 'o'));
    LogInfo("text");
    CHECK(!fs::exists(room.LogFile() + L".1"));
    CHECK(fs::file_size(room.LogFile()) == 0xFFFFF + kPrefixChars + sizeof "text\r\n" - 1);
}

TEST_CASE("Only one older log is kept")
{
    const ProgramDataRoom room;
    WriteBytes(room.LogFile() + L".1", "older");
    WriteBytes(room.LogFile(), std::string(0x100000, 'o'));
    LogInfo("text");
    CHECK(fs::file_size(room.LogFile() + L".1") == 0x100000);
    CHECK(EntriesIn(fs::path(room.LogFile()).parent_path()) == 2);
}

TEST_CASE("A log that cannot be put aside is continued")
{
    const ProgramDataRoom room;
    WriteBytes(room.LogFile(), std::string(0x100000, 'o'));
    fs::create_directory(room.LogFile() + L".1");
    LogInfo("text");
    CHECK(fs::file_size(room.LogFile()) > 0x100000);
}

TEST_CASE("A log whose rotated name would be too long is continued")
{
    const ProgramDataRoom room;
    const fs::path base = UseBaseOfLength(room, 258 - 30 - 27);
    const fs::path file = base.wstring() + kFolderInBase + L"\\CredentialProviderFido.log";
    REQUIRE(file.wstring().size() == 258);
    WriteBytes(file, std::string(0x100000, 'o'));
    LogInfo("text");
    CHECK(fs::file_size(file) > 0x100000);
    CHECK(EntriesIn(file.parent_path()) == 1);
}

TEST_CASE("A long component tag is cut to 63 characters in the file name")
{
    const ProgramDataRoom room;
    Log(std::string(70, 't').c_str(), "INFO", "text");
    const fs::path folder = room.Path() + kFolderInBase;
    CHECK(EntriesIn(folder) == 1);
    CHECK(fs::exists(folder / (std::string(63, 't') + ".log")));
}

TEST_CASE("A component tag is widened byte by byte")
{
    const ProgramDataRoom room;
    Log("T\xE4g", "INFO", "text");
    CHECK(fs::exists(room.Path() + kFolderInBase + L"\\T\u00E4g.log"));
}

TEST_CASE("Without the environment variable the log is under C:\\ProgramData")
{
    SetEnvironmentVariableW(L"ProgramData", nullptr);
    const std::string tag = "UnitTest" + std::to_string(GetCurrentProcessId());
    const fs::path file =
        L"C:\\ProgramData\\KelvorDirectoryFidoLogon\\Logs\\" + fs::path(tag + ".log").wstring();
    fs::remove(file);
    Log(tag.c_str(), "INFO", "text");
    CHECK(LogReader(file.wstring()).Messages() == std::vector<std::string>{"text"});
    fs::remove(file);
}

TEST_CASE("With an environment variable of 260 characters the log is under C:\\ProgramData")
{
    const std::string tag = "UnitTestLong" + std::to_string(GetCurrentProcessId());
    const fs::path file =
        L"C:\\ProgramData\\KelvorDirectoryFidoLogon\\Logs\\" + fs::path(tag + ".log").wstring();
    fs::remove(file);
    SetEnvironmentVariableW(L"ProgramData", (L"C:\\" + std::wstring(257, L'x')).c_str());
    Log(tag.c_str(), "INFO", "text");
    CHECK(LogReader(file.wstring()).Messages() == std::vector<std::string>{"text"});
    fs::remove(file);
}

TEST_CASE("A base that leaves no room for the log's folder gets no log")
{
    const ProgramDataRoom room;
    const fs::path base = UseBaseOfLength(room, 260 - 30);
    LogInfo("text");
    CHECK(EntriesIn(base) == 0);
}

TEST_CASE("A base that leaves no room for the log's file gets its folder alone")
{
    const ProgramDataRoom room;
    const fs::path base = UseBaseOfLength(room, 260 - 30 - 27);
    LogInfo("text");
    CHECK(EntriesIn(base.wstring() + kFolderInBase) == 0);
}

TEST_CASE("The longest path that fits gets its line")
{
    const ProgramDataRoom room;
    const fs::path base = UseBaseOfLength(room, 259 - 30 - 27);
    LogInfo("text");
    CHECK(LogReader(base.wstring() + kFolderInBase + L"\\CredentialProviderFido.log").Messages() ==
          std::vector<std::string>{"text"});
}

TEST_CASE("A base folder that does not exist is not created")
{
    const ProgramDataRoom room;
    SetEnvironmentVariableW(L"ProgramData", (room.Path() + L"\\missing").c_str());
    LogInfo("text");
    CHECK(EntriesIn(room.Path()) == 0);
}

TEST_CASE("A log that cannot be opened costs the line and nothing else")
{
    const ProgramDataRoom room;
    fs::create_directories(room.LogFile());
    LogInfo("text");
    CHECK(fs::is_directory(room.LogFile()));
}

TEST_CASE("The last error outlives a line that is written")
{
    const ProgramDataRoom room;
    SetLastError(0x20001234);
    LogInfo("text");
    CHECK(GetLastError() == 0x20001234);
}

TEST_CASE("The last error outlives a line that cannot be written")
{
    const ProgramDataRoom room;
    SetEnvironmentVariableW(L"ProgramData", (room.Path() + L"\\missing").c_str());
    SetLastError(0x20001234);
    LogInfo("text");
    CHECK(GetLastError() == 0x20001234);
}

TEST_CASE("The process keeps its locale")
{
    const ProgramDataRoom room;
    REQUIRE(setlocale(LC_ALL, "C") != nullptr);
    const int before = _configthreadlocale(0);
    LogInfo("%ls", L"\u2014");
    CHECK(std::string(setlocale(LC_CTYPE, nullptr)) == "C");
    CHECK(_configthreadlocale(0) == before);
}

TEST_CASE("A thread with a locale of its own keeps it")
{
    const ProgramDataRoom room;
    _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
    REQUIRE(setlocale(LC_CTYPE, ".1252") != nullptr);
    const std::string before = setlocale(LC_CTYPE, nullptr);
    LogInfo("%ls", L"\u2014");
    CHECK(std::string(setlocale(LC_CTYPE, nullptr)) == before);
    CHECK(_configthreadlocale(0) == _ENABLE_PER_THREAD_LOCALE);
}
