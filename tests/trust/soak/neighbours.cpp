#include "neighbours.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kelvor::trust {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kVariable = L"KELVOR_MEETING_PLACE";
constexpr DWORD kPatienceMs = 60'000;
constexpr DWORD kLifeMs = 170'000;
constexpr std::size_t kFirstLines = 10'000;
constexpr std::size_t kFirstLineBytes = 100;  // with the line's end: 48 KB below the full mebibyte

std::string NameOfThisProgram()
{
    char path[MAX_PATH] = {};
    return {path, GetModuleFileNameA(nullptr, path, MAX_PATH)};
}

void AppendLines(const std::wstring& path, std::vector<std::string>& lines)
{
    std::ifstream file(fs::path(path), std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
}

}  // namespace

MeetingPlace::MeetingPlace(const std::wstring& name)
    : folder_(fs::temp_directory_path().wstring() + name),
      ready_(CreateSemaphoreW(nullptr, 0, 1000, (name + L"-ready").c_str())),
      begin_(CreateEventW(nullptr, TRUE, FALSE, (name + L"-begin").c_str())),
      memory_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                 sizeof(LogCounts), (name + L"-counts").c_str())),
      counts_(static_cast<LogCounts*>(
          MapViewOfFile(memory_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(LogCounts))))
{
    if (!ready_ || !begin_ || !counts_) {
        throw std::runtime_error("there is no place to meet");
    }
}

MeetingPlace MeetingPlace::Make()
{
    const std::wstring name = L"kelvor-meeting-" + std::to_wstring(GetCurrentProcessId());
    MeetingPlace place(name);
    place.owns_ = true;
    SetEnvironmentVariableW(kVariable, name.c_str());
    fs::remove_all(place.folder_);
    fs::create_directories(fs::path(place.LogFile()).parent_path());
    place.FillLog();
    return place;
}

MeetingPlace MeetingPlace::Find()
{
    wchar_t name[MAX_PATH] = {};
    if (GetEnvironmentVariableW(kVariable, name, MAX_PATH) == 0) {
        throw std::runtime_error("nobody has made a place to meet");
    }
    return MeetingPlace(name);
}

MeetingPlace::~MeetingPlace()
{
    if (owns_ && counts_) {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
}

std::wstring MeetingPlace::LogFile() const
{
    return folder_ + L"\\KelvorDirectoryFidoLogon\\Logs\\CredentialProviderFido.log";
}

bool MeetingPlace::WaitForBeginning() const
{
    ReleaseSemaphore(ready_.Get(), 1, nullptr);
    return WaitForSingleObject(begin_.Get(), kPatienceMs) == WAIT_OBJECT_0;
}

bool MeetingPlace::BeginWhenReady(std::size_t neighbours) const
{
    for (; neighbours > 0; --neighbours) {
        if (WaitForSingleObject(ready_.Get(), kPatienceMs) != WAIT_OBJECT_0) {
            return false;
        }
    }
    return SetEvent(begin_.Get()) != FALSE;
}

std::vector<std::string> MeetingPlace::LinesInFiles() const
{
    std::vector<std::string> lines;
    for (const std::wstring& file : ReplacedFiles(folder_)) {
        AppendLines(file, lines);
    }
    AppendLines(LogFile() + L".1", lines);
    AppendLines(LogFile(), lines);
    return lines;
}

std::vector<std::string> MeetingPlace::FirstLines()
{
    std::vector<std::string> lines(kFirstLines);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines[i] = std::to_string(i) + " ";
        lines[i].resize(kFirstLineBytes - 2, '.');
        lines[i] += '\r';
    }
    return lines;
}

void MeetingPlace::FillLog() const
{
    std::ofstream file(fs::path(LogFile()), std::ios::binary);
    for (const std::string& line : FirstLines()) {
        file << line << '\n';
    }
}

Neighbour::Neighbour(const std::string& testCase, const std::string& options)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    std::string command =
        "\"" + NameOfThisProgram() + "\" --no-skip \"--test-case=" + testCase + "\" " + options;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &started)) {
        throw std::runtime_error("this program cannot be started once more");
    }
    CloseHandle(started.hThread);
    process_.Reset(started.hProcess);
}

DWORD Neighbour::ExitCode() const
{
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process_.Get(), kLifeMs);
    GetExitCodeProcess(process_.Get(), &code);
    return code;
}

}  // namespace kelvor::trust
