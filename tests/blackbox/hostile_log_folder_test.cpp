// A log that cannot be written, or is not where it seems to be. Whatever becomes of its lines, the
// sign-in goes on as if they stood there.

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::ImportPatch;
using kelvor::test::LogLine;
using kelvor::test::LogReader;
using kelvor::test::Stage;

namespace fs = std::filesystem;

namespace {

// The C runtime's way to the disk is barred while an object lives.
class NoWayToTheDisk {
 public:
    enum class How { kFull, kProtected };

    explicit NoWayToTheDisk(How how)
        : patch_(GetModuleHandleW(L"ucrtbase.dll"), how == How::kFull ? "WriteFile" : "CreateFileW",
                 how == How::kFull ? reinterpret_cast<void*>(&Write)
                                   : reinterpret_cast<void*>(&Create))
    {
        refusals = 0;
    }

    inline static int refusals = 0;

 private:
    static BOOL WINAPI Write(HANDLE file, const void* data, DWORD size, DWORD* written,
                             OVERLAPPED* io)
    {
        if (GetFileType(file) != FILE_TYPE_DISK) {
            return WriteFile(file, data, size, written, io);
        }
        ++refusals;
        *written = 0;
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    }
    static HANDLE WINAPI Create(const wchar_t* name, DWORD access, DWORD share,
                                SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                HANDLE model)
    {
        if ((access & (GENERIC_WRITE | FILE_APPEND_DATA)) == 0) {
            return CreateFileW(name, access, share, security, disposition, flags, model);
        }
        ++refusals;
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }

    ImportPatch patch_;
};

// What another process has opened, for itself alone.
class HeldOpen {
 public:
    explicit HeldOpen(const fs::path& file)
        : handle_(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr))
    {
        REQUIRE(handle_ != INVALID_HANDLE_VALUE);
    }
    ~HeldOpen() { CloseHandle(handle_); }
    HeldOpen(const HeldOpen&) = delete;
    HeldOpen& operator=(const HeldOpen&) = delete;

 private:
    HANDLE handle_;
};

fs::path FolderOf(const Stage& stage)
{
    return fs::path(stage.programData.LogFile()).parent_path();
}

void FillLog(const Stage& stage, std::size_t sizeBytes)
{
    fs::create_directories(FolderOf(stage));
    std::ofstream(fs::path(stage.programData.LogFile()), std::ios::binary)
        << std::string(sizeBytes, 'o');
}

bool SignsIn(Stage& stage)
{
    stage.SignIn();
    return stage.AskTileCount().autoLogon;
}

bool EveryLineIsWhole(const Stage& stage)
{
    for (const LogLine& line : stage.log.Lines()) {
        if (line.level.empty()) {
            return false;
        }
    }
    return true;
}

}  // namespace

TEST_CASE("A full disk costs the lines and nothing else, and they come back with the room")
{
    Stage stage;
    {
        const NoWayToTheDisk full(NoWayToTheDisk::How::kFull);
        CHECK(SignsIn(stage));
        CHECK(NoWayToTheDisk::refusals > 20);
        CHECK(stage.log.Bytes().empty());
    }
    stage.Collect();
    stage.Report(0);
    CHECK(stage.log.HasBeginning("INFO", "ReportResult: "));
    CHECK(EveryLineIsWhole(stage));
}

TEST_CASE("A folder that may not be written costs the lines and nothing else")
{
    Stage stage;
    const NoWayToTheDisk barred(NoWayToTheDisk::How::kProtected);
    CHECK(SignsIn(stage));
    CHECK(NoWayToTheDisk::refusals > 20);
    CHECK(stage.log.Bytes().empty());
}

TEST_CASE("A log that another process keeps to itself costs the lines until it lets go")
{
    Stage stage;
    fs::create_directories(FolderOf(stage));
    {
        const HeldOpen held(stage.programData.LogFile());
        CHECK(SignsIn(stage));
    }
    CHECK(stage.log.Bytes().empty());
    stage.Collect();
    CHECK(stage.log.HasBeginning("INFO", "GetSerialization: "));
}

TEST_CASE("An older log that another process keeps to itself lets the log grow")
{
    Stage stage;
    FillLog(stage, 0x100000);
    const HeldOpen held(stage.programData.LogFile() + L".1");
    CHECK(SignsIn(stage));
    CHECK(fs::file_size(stage.programData.LogFile()) > 0x100000);
    CHECK(stage.log.Bytes().find("sclogon: built KERB_CERTIFICATE_LOGON") != std::string::npos);
}

TEST_CASE("A file in the place of a folder of the log costs the lines and nothing else")
{
    for (const wchar_t* folder :
         {L"\\KelvorDirectoryFidoLogon", L"\\KelvorDirectoryFidoLogon\\Logs"}) {
        CAPTURE(std::wstring(folder));
        Stage stage;
        const fs::path file = stage.programData.Path() + folder;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "a file";
        CHECK(SignsIn(stage));
        CHECK(fs::file_size(file) == 6);
    }
}

TEST_CASE("A ProgramData that is a file costs the lines and nothing else")
{
    Stage stage;
    const std::wstring file = stage.programData.Path() + L"\\file";
    std::ofstream(fs::path(file)) << "a file";
    SetEnvironmentVariableW(L"ProgramData", file.c_str());
    CHECK(SignsIn(stage));
    CHECK(fs::file_size(file) == 6);
}

// Why nobody but administrators may create anything in the log's folder: SYSTEM writes to whatever
// stands there under the log's name.
TEST_CASE("A log that is a second name of another file is written to that file")
{
    Stage stage;
    const std::wstring other = stage.programData.Path() + L"\\other";
    std::ofstream(fs::path(other)) << "";
    fs::create_directories(FolderOf(stage));
    REQUIRE(CreateHardLinkW(stage.programData.LogFile().c_str(), other.c_str(), nullptr));
    stage.Open();
    CHECK(LogReader(other).Has("INFO", "SetUsageScenario: cpus=1"));
}

TEST_CASE("A log that is a second name of another file gives only the name up when it is full")
{
    Stage stage;
    const std::wstring other = stage.programData.Path() + L"\\other";
    std::ofstream(fs::path(other), std::ios::binary) << std::string(0x100000, 'o');
    fs::create_directories(FolderOf(stage));
    REQUIRE(CreateHardLinkW(stage.programData.LogFile().c_str(), other.c_str(), nullptr));
    stage.Open();
    CHECK(fs::file_size(other) == 0x100000);
    CHECK(stage.log.Messages().front() == "SetUsageScenario: cpus=1");
}

TEST_CASE("A name outside the BMP stands whole in the log")
{
    Stage stage({.users = {{.qualifiedName = L"CORP\\al\xD83D\xDE00ice"}}});
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: enter user='CORP\\al\xF0\x9F\x98\x80ice' otherUser=0"));
}

TEST_CASE("A name with half a character keeps what stands behind it in the log")
{
    Stage stage({.users = {{.qualifiedName = L"CORP\\al\xD83Dice"}}});
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: enter user='CORP\\al\xEF\xBF\xBDice' otherUser=0"));
}
