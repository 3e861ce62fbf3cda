#include "logonui/module_log.h"

#include <windows.h>

#include <string_view>

#include "handle.h"

namespace kelvor::simulator {
namespace {

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using File = Unique<FilePolicy>;

File OpenForReading(const std::wstring& path)
{
    return File(CreateFileW(path.c_str(), GENERIC_READ,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, 0, nullptr));
}

std::uint64_t SizeOf(const File& file)
{
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::wstring LogPath()
{
    wchar_t base[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(L"ProgramData", base, MAX_PATH);
    return std::wstring(length > 0 && length < MAX_PATH ? base : L"C:\\ProgramData") +
           L"\\KelvorDirectoryFidoLogon\\Logs\\CredentialProviderFido.log";
}

}  // namespace

ModuleLog::ModuleLog() : path_(LogPath())
{
    if (const File file = OpenForReading(path_)) {
        startBytes_ = SizeOf(file);
    }
}

std::vector<std::string> ModuleLog::Lines() const
{
    const File file = OpenForReading(path_);
    if (!file) {
        return {};
    }
    // A log that is shorter than it was has been rotated: all of it is new.
    const std::uint64_t sizeBytes = SizeOf(file);
    const std::uint64_t from = sizeBytes >= startBytes_ ? startBytes_ : 0;
    LARGE_INTEGER position = {};
    position.QuadPart = static_cast<LONGLONG>(from);
    std::string text(static_cast<std::size_t>(sizeBytes - from), '\0');
    DWORD read = 0;
    if (!SetFilePointerEx(file.Get(), position, nullptr, FILE_BEGIN) ||
        !ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr)) {
        return {};
    }
    text.resize(read);
    const std::string ours = "  pid=" + std::to_string(GetCurrentProcessId()) + " ";
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find("\r\n", at);
        if (end == std::string::npos) {
            break;  // still being written
        }
        const std::string_view line = std::string_view(text).substr(at, end - at);
        if (line.find(ours) != std::string_view::npos) {
            lines.emplace_back(line);
        }
        at = end + 2;
    }
    return lines;
}

}  // namespace kelvor::simulator
