#include "diag/log.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "diag/log_message.h"
#include "handle.h"

namespace kelvor {
namespace {

// Fixed buffers throughout: a line must reach the file when memory is short, too.
using Path = std::array<wchar_t, 260>;

constexpr std::uint64_t kRotationThresholdBytes = 0x100000;
constexpr DWORD kMutexWaitMs = 2000;

class LastErrorKeeper {
 public:
    LastErrorKeeper() noexcept : error_(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(error_); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
    DWORD error_;
};

// Puts the lines of all processes in order. A writer that holds the mutex for longer than the wait
// costs us the order of two lines, not the line.
class MachineWideTurn {
 public:
    MachineWideTurn() noexcept
        : mutex_(CreateMutexW(nullptr, FALSE, L"Global\\KelvorDirectoryFidoLogonLog"))
    {
        if (mutex_) {
            WaitForSingleObject(mutex_.Get(), kMutexWaitMs);
        }
    }
    ~MachineWideTurn()
    {
        if (mutex_) {
            ReleaseMutex(mutex_.Get());
        }
    }
    MachineWideTurn(const MachineWideTurn&) = delete;
    MachineWideTurn& operator=(const MachineWideTurn&) = delete;

 private:
    UniqueKernelObject mutex_;
};

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// False when the text does not fit: then it is not cut and used, but dropped.
bool FormPath(Path& path, std::initializer_list<std::wstring_view> parts) noexcept
{
    std::size_t lengthChars = 0;
    for (const std::wstring_view part : parts) {
        if (part.size() >= path.size() - lengthChars) {
            return false;
        }
        lengthChars += part.copy(path.data() + lengthChars, part.size());
    }
    path[lengthChars] = L'\0';
    return true;
}

void FindBaseFolder(Path& base) noexcept
{
    const DWORD lengthChars =
        GetEnvironmentVariableW(L"ProgramData", base.data(), static_cast<DWORD>(base.size()));
    if (lengthChars == 0 || lengthChars >= base.size()) {
        static_cast<void>(FormPath(base, {L"C:\\ProgramData"}));
    }
}

void CreateFolderChain(const Path& folder) noexcept
{
    Path parent = folder;
    if (wchar_t* lastSeparator = std::wcsrchr(parent.data(), L'\\')) {
        *lastSeparator = L'\0';
        CreateDirectoryW(parent.data(), nullptr);
    }
    CreateDirectoryW(folder.data(), nullptr);
}

bool FormLogPath(Path& file, const Path& folder, const char* component) noexcept
{
    std::array<wchar_t, 64> name = {};
    for (std::size_t i = 0; i + 1 < name.size() && component[i] != '\0'; ++i) {
        name[i] = static_cast<unsigned char>(component[i]);
    }
    return FormPath(file, {folder.data(), L"\\", name.data(), L".log"});
}

void RotateWhenLarge(const Path& file) noexcept
{
    WIN32_FILE_ATTRIBUTE_DATA attributes = {};
    if (!GetFileAttributesExW(file.data(), GetFileExInfoStandard, &attributes)) {
        return;
    }
    const std::uint64_t sizeBytes =
        (std::uint64_t{attributes.nFileSizeHigh} << 32) | attributes.nFileSizeLow;
    Path rotated;
    if (sizeBytes >= kRotationThresholdBytes && FormPath(rotated, {file.data(), L".1"})) {
        MoveFileExW(file.data(), rotated.data(), MOVEFILE_REPLACE_EXISTING);
    }
}

void AppendLine(const Path& path, const char* level, const char* format,
                std::va_list arguments) noexcept
{
    const std::unique_ptr<std::FILE, FileCloser> file(_wfopen(path.data(), L"a"));
    if (!file) {
        return;
    }
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    std::fprintf(file.get(), "%04u-%02u-%02u %02u:%02u:%02u.%03u  pid=%-5lu tid=%-5lu  %-5s  ",
                 now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
                 now.wMilliseconds, GetCurrentProcessId(), GetCurrentThreadId(), level);
    WriteMessage(file.get(), format, arguments);
    std::fputc('\n', file.get());
}

}  // namespace

void Log(const char* component, const char* level, const char* format, ...) noexcept
{
    std::va_list arguments;  // NOLINT(cppcoreguidelines-init-variables): va_start does.
    va_start(arguments, format);
    LogV(component, level, format, arguments);
    va_end(arguments);
}

void LogV(const char* component, const char* level, const char* format,
          std::va_list arguments) noexcept
{
    const LastErrorKeeper lastError;
    if (component == nullptr || format == nullptr) {
        return;
    }
    Path base;
    Path folder;
    FindBaseFolder(base);
    if (!FormPath(folder, {base.data(), L"\\KelvorDirectoryFidoLogon\\Logs"})) {
        return;
    }
    CreateFolderChain(folder);
    Path file;
    if (!FormLogPath(file, folder, component)) {
        return;
    }

    const MachineWideTurn turn;
    RotateWhenLarge(file);
    AppendLine(file, level != nullptr ? level : "INFO", format, arguments);
}

}  // namespace kelvor
