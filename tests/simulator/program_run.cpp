#include "program_run.h"

#include <stdexcept>

#include "cardservice/pipe_server.h"
#include "files/whole_file.h"

namespace kelvor::test {

using namespace simulator;

namespace {

constexpr DWORD kLimitMs = 20'000;

std::wstring FolderOfThisProgram()
{
    wchar_t path[MAX_PATH];
    const std::wstring whole(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return whole.substr(0, whole.find_last_of(L'\\') + 1);
}

std::wstring FreshOutputPath()
{
    static int number = 0;
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    return folder + std::wstring(L"kelvor-run-") + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(++number);
}

}  // namespace

ProgramRun::ProgramRun(const std::wstring& name, const std::wstring& arguments)
    : outputPath_(FreshOutputPath())
{
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    const UniquePipe output(CreateFileW(outputPath_.c_str(), GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    startup.hStdError = output.Get();
    std::wstring commandLine = L"\"" + FolderOfThisProgram() + name + L"\" " + arguments;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &started)) {
        throw std::runtime_error("the program cannot be started: " + ErrorText(GetLastError()));
    }
    CloseHandle(started.hThread);
    process_.Reset(started.hProcess);
}

ProgramRun::~ProgramRun()
{
    Kill();
    DeleteFileW(outputPath_.c_str());
}

DWORD ProgramRun::ExitCode() const
{
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process_.Get(), kLimitMs);
    GetExitCodeProcess(process_.Get(), &code);
    return code;
}

std::string ProgramRun::Output() const
{
    return std::string(ReadWholeFile(outputPath_).value().View());
}

void ProgramRun::Kill() const noexcept
{
    TerminateProcess(process_.Get(), 1);
    WaitForSingleObject(process_.Get(), kLimitMs);
}

}  // namespace kelvor::test
