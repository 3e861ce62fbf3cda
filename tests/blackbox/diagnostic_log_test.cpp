// The log that the module writes, as an administrator finds it.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::test::LogLine;
using kelvor::test::LogReader;
using kelvor::test::Stage;

namespace fs = std::filesystem;

namespace {

constexpr SYSTEMTIME kMoment = {2025, 3, 5, 7, 8, 15, 2, 347};

std::string LeftInFive(DWORD number)
{
    std::string text = std::to_string(number);
    text.resize(std::max<std::size_t>(text.size(), 5), ' ');
    return text;
}

void FillLog(const std::wstring& file, std::size_t sizeBytes)
{
    fs::create_directories(fs::path(file).parent_path());
    std::ofstream(fs::path(file), std::ios::binary) << std::string(sizeBytes, 'o');
}

// Another process holds the log's mutex for as long as the object lives; the module's wait for it
// ends in no time.
class MutexHeldElsewhere {
 public:
    explicit MutexHeldElsewhere(HMODULE module) : patch_(module, "WaitForSingleObject", &Wait)
    {
        original = reinterpret_cast<decltype(original)>(patch_.Original());
    }

    inline static std::size_t waits = 0;

 private:
    static DWORD WINAPI Wait(HANDLE object, DWORD limitMs)
    {
        if (limitMs != 2000) {
            return original(object, limitMs);
        }
        ++waits;
        return WAIT_TIMEOUT;
    }

    inline static DWORD(WINAPI* original)(HANDLE, DWORD) = nullptr;
    ImportPatch patch_;
};

}  // namespace

TEST_CASE("The provider's first line reads as promised, byte for byte")
{
    Stage stage;
    stage.clock.SetLocalTime(kMoment);
    stage.Open();
    CHECK(stage.log.Bytes().starts_with(
        "2025-03-07 08:15:02.347  pid=" + LeftInFive(GetCurrentProcessId()) +
        " tid=" + LeftInFive(GetCurrentThreadId()) + "  INFO   SetUsageScenario: cpus=1\r\n"));
}

TEST_CASE("Every line of a whole sign-in has the log's form")
{
    Stage stage;
    stage.SignInWhole();
    const std::vector<LogLine> lines = stage.log.Lines();
    REQUIRE(lines.size() > 10);
    for (const LogLine& line : lines) {
        CHECK_MESSAGE(!line.level.empty(), line.message);
    }
}

TEST_CASE("Every line ends in carriage return and line feed")
{
    Stage stage;
    stage.SignInWhole();
    const std::string bytes = stage.log.Bytes();
    CHECK(bytes.ends_with("\r\n"));
    CHECK(std::ranges::count(bytes, '\n') == std::ranges::count(bytes, '\r'));
    CHECK(static_cast<std::size_t>(std::ranges::count(bytes, '\n')) == stage.log.Lines().size());
}

TEST_CASE("The dashes and dots of the status texts are UTF-8 in the log")
{
    Stage stage;
    stage.SignIn();
    const std::string bytes = stage.log.Bytes();
    CHECK(bytes.find("Touch your security key now \xE2\x80\x94 it should be flashing.") !=
          std::string::npos);
    CHECK(bytes.find("Signing in with your security key\xE2\x80\xA6") != std::string::npos);
}

TEST_CASE("An account's letters outside ASCII are UTF-8 in the log")
{
    Stage stage({.users = {{.qualifiedName = L"CORP\\j\u00FCrgen"}}});
    stage.SignIn();
    CHECK(stage.log.Bytes().find("(user='CORP\\j\xC3\xBCrgen'") != std::string::npos);
}

TEST_CASE("Without ProgramData the module logs under C:\\ProgramData")
{
    const std::wstring file =
        L"C:\\ProgramData\\KelvorDirectoryFidoLogon\\Logs\\CredentialProviderFido.log";
    fs::remove(file);
    {
        Stage stage;
        SetEnvironmentVariableW(L"ProgramData", nullptr);
        stage.Open();
    }
    CHECK(LogReader(file).Has("INFO", "SetUsageScenario: cpus=1"));
    fs::remove(file);
}

TEST_CASE("A full log is put aside by the module's next line")
{
    Stage stage;
    FillLog(stage.programData.LogFile(), 0x100000);
    stage.Open();
    CHECK(fs::file_size(stage.programData.LogFile() + L".1") == 0x100000);
    CHECK(stage.log.Messages().front() == "SetUsageScenario: cpus=1");
}

TEST_CASE("A log held by another process costs the wait, not the lines")
{
    Stage stage;
    const MutexHeldElsewhere held(stage.Module().Handle());
    stage.Open();
    CHECK(stage.log.Has("INFO", "SetUsageScenario: cpus=1"));
    CHECK(MutexHeldElsewhere::waits == stage.log.Lines().size());
}

TEST_CASE("A log that cannot be written does not hinder the sign-in")
{
    Stage stage;
    fs::create_directories(stage.programData.LogFile());
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
    CHECK(stage.log.Bytes().empty());
}
