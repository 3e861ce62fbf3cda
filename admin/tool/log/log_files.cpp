#include "log/log_files.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "cardsvc/utf_text.h"
#include "diag/log.h"
#include "handle.h"
#include "ordinal_text.h"

namespace kelvor::admin {
namespace {

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using UniqueFile = Unique<FilePolicy>;

constexpr DWORD kPieceBytes = 65'536;

[[noreturn]] void Fail(const char* what, const std::wstring& file)
{
    const DWORD error = GetLastError();
    throw std::runtime_error(
        std::string(what) + " " + Utf16ToUtf8(file) + " (error " + std::to_string(error) + ")" +
        (error == ERROR_ACCESS_DENIED ? ": run the tool as an administrator" : ""));
}

std::wstring FullPath(const std::wstring& path)
{
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

// Nothing when there is no such file.
std::optional<std::string> ReadFileIfThere(const std::wstring& path)
{
    // The module may be writing, rotating or deleting it meanwhile.
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return std::nullopt;
        }
        Fail("cannot read", path);
    }
    std::string text;
    for (;;) {
        const std::size_t before = text.size();
        text.resize(before + kPieceBytes);
        DWORD read = 0;
        if (!ReadFile(file.Get(), text.data() + before, kPieceBytes, &read, nullptr)) {
            Fail("cannot read", path);
        }
        text.resize(before + read);
        if (read == 0) {
            return text;
        }
    }
}

}  // namespace

std::wstring DefaultLogFile()
{
    std::wstring folder(GetEnvironmentVariableW(L"ProgramData", nullptr, 0), L'\0');
    folder.resize(
        GetEnvironmentVariableW(L"ProgramData", folder.data(), static_cast<DWORD>(folder.size())));
    return (folder.empty() ? L"C:\\ProgramData" : folder) + L"\\KelvorDirectoryFidoLogon\\Logs\\" +
           Utf8ToUtf16(kLogComponent) + L".log";
}

std::string ReadLogFiles(const std::wstring& file)
{
    const std::optional<std::string> rotated = ReadFileIfThere(file + L".1");
    const std::optional<std::string> current = ReadFileIfThere(file);
    if (!rotated && !current) {
        throw std::runtime_error("there is no log " + Utf16ToUtf8(file) +
                                 ": the module has not been loaded on this PC, or may not write");
    }
    return rotated.value_or("") + current.value_or("");
}

bool IsPartOfLog(const std::wstring& path, const std::wstring& log)
{
    const std::wstring full = FullPath(path);
    return EqualIgnoringCase(full, FullPath(log)) || EqualIgnoringCase(full, FullPath(log + L".1"));
}

void WriteWholeFile(const std::wstring& path, const std::string& text)
{
    const UniqueFile file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    if (!file) {
        Fail("cannot write", path);
    }
    for (std::size_t done = 0; done < text.size();) {
        const auto piece =
            static_cast<DWORD>(std::min<std::size_t>(text.size() - done, kPieceBytes));
        DWORD written = 0;
        if (!WriteFile(file.Get(), text.data() + done, piece, &written, nullptr)) {
            Fail("cannot write", path);
        }
        done += written;
    }
}

}  // namespace kelvor::admin
