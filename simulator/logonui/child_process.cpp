#include "logonui/child_process.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using File = Unique<FilePolicy>;

UniqueKernelObject MakeJob()
{
    UniqueKernelObject job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!job || !SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits,
                                         sizeof limits)) {
        throw std::runtime_error("Windows gave no job for the programs of the simulation");
    }
    return job;
}

File OpenOutput(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    File file(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                          &inheritable, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        throw std::runtime_error("cannot write " + ToUtf8(path));
    }
    return file;
}

}  // namespace

ChildProcess::ChildProcess(const std::wstring& program, const std::wstring& arguments,
                           const std::wstring& outputPath)
    : job_(MakeJob())
{
    const File output = OpenOutput(outputPath);
    std::wstring commandLine =
        L"\"" + program + L"\"" + (arguments.empty() ? L"" : L" ") + arguments;
    std::vector<wchar_t> writable(commandLine.begin(), commandLine.end());
    writable.push_back(L'\0');
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    startup.hStdError = output.Get();
    PROCESS_INFORMATION information = {};
    if (!CreateProcessW(program.c_str(), writable.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                        nullptr, nullptr, &startup, &information)) {
        throw std::runtime_error("cannot start " + ToUtf8(program) + " (error " +
                                 std::to_string(GetLastError()) + ")");
    }
    process_.Reset(information.hProcess);
    const UniqueKernelObject thread(information.hThread);
    if (!AssignProcessToJobObject(job_.Get(), process_.Get())) {
        Kill();
        throw std::runtime_error("cannot put " + ToUtf8(program) + " into its job");
    }
    ResumeThread(thread.Get());
}

void ChildProcess::Kill() noexcept
{
    if (Running()) {
        TerminateProcess(process_.Get(), ERROR_PROCESS_ABORTED);
        WaitForSingleObject(process_.Get(), INFINITE);
    }
}

bool ChildProcess::Running() const noexcept
{
    return process_ && WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT;
}

bool ChildProcess::WaitForEnd(DWORD timeoutMs, DWORD& exitCode) const noexcept
{
    return WaitForSingleObject(process_.Get(), timeoutMs) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(process_.Get(), &exitCode);
}

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring whole = path;
    return whole.substr(0, whole.find_last_of(L'\\'));
}

}  // namespace kelvor::simulator
