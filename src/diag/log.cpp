#include "diag/log.h"

#include <windows.h>

#include <array>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>

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

// What of a message the C runtime converts, it converts by the locale; this thread alone has UTF-8
// while the object lives.
class Utf8ThreadLocale {
 public:
    Utf8ThreadLocale() noexcept : threadSetting_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE))
    {
        const char* current = setlocale(LC_CTYPE, nullptr);
        if (current != nullptr && std::strlen(current) < name_.size()) {
            std::memcpy(name_.data(), current, std::strlen(current) + 1);
        }
        setlocale(LC_CTYPE, ".utf8");
    }
    ~Utf8ThreadLocale()
    {
        if (name_[0] != '\0') {
            setlocale(LC_CTYPE, name_.data());
        }
        if (threadSetting_ != -1) {
            _configthreadlocale(threadSetting_);
        }
    }
    Utf8ThreadLocale(const Utf8ThreadLocale&) = delete;
    Utf8ThreadLocale& operator=(const Utf8ThreadLocale&) = delete;

 private:
    int threadSetting_;
    std::array<char, 64> name_ = {};
};

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// False when the text is empty or does not fit: then it is not cut and used, but dropped. Runtimes
// differ in what they return for a buffer that is too small, a negative or the needed length.
template <class... Arguments>
bool FormPath(Path& path, const wchar_t* format, Arguments... arguments) noexcept
{
    const int lengthChars = std::swprintf(path.data(), path.size(), format, arguments...);
    return lengthChars > 0 && lengthChars < static_cast<int>(path.size());
}

void FindBaseFolder(Path& base) noexcept
{
    const DWORD lengthChars =
        GetEnvironmentVariableW(L"ProgramData", base.data(), static_cast<DWORD>(base.size()));
    if (lengthChars == 0 || lengthChars >= base.size()) {
        static_cast<void>(FormPath(base, L"%ls", L"C:\\ProgramData"));
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
    return FormPath(file, L"%ls\\%ls.log", folder.data(), name.data());
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
    if (sizeBytes >= kRotationThresholdBytes && FormPath(rotated, L"%ls.1", file.data())) {
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
    if (!FormPath(folder, L"%ls\\KelvorDirectoryFidoLogon\\Logs", base.data())) {
        return;
    }
    CreateFolderChain(folder);
    Path file;
    if (!FormLogPath(file, folder, component)) {
        return;
    }

    const MachineWideTurn turn;
    RotateWhenLarge(file);
    const Utf8ThreadLocale locale;
    AppendLine(file, level != nullptr ? level : "INFO", format, arguments);
}

}  // namespace kelvor
