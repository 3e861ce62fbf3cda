#include "files/whole_file.h"

#include <stdexcept>

#include "handle.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

struct FilePolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using UniqueFile = Unique<FilePolicy>;

[[noreturn]] void Fail(const std::wstring& path, const char* what, DWORD code)
{
    throw std::runtime_error(ToUtf8(path) + ": " + what + ": " + ErrorText(code));
}

}  // namespace

std::optional<SecretText> ReadWholeFile(const std::wstring& path, std::size_t maxBytes)
{
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const DWORD code = GetLastError();
        if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) {
            return std::nullopt;
        }
        Fail(path, "cannot be opened", code);
    }
    LARGE_INTEGER sizeBytes{};
    if (!GetFileSizeEx(file.Get(), &sizeBytes)) {
        Fail(path, "cannot be read", GetLastError());
    }
    if (static_cast<unsigned long long>(sizeBytes.QuadPart) > maxBytes) {
        throw std::runtime_error(ToUtf8(path) + ": is longer than " + std::to_string(maxBytes) +
                                 " bytes");
    }
    SecretText content(static_cast<std::size_t>(sizeBytes.QuadPart));
    DWORD readBytes = 0;
    if (!ReadFile(file.Get(), content.Data(), static_cast<DWORD>(content.Size()), &readBytes,
                  nullptr)) {
        Fail(path, "cannot be read", GetLastError());
    }
    content.Shrink(readBytes);
    return content;
}

void ReplaceWholeFile(const std::wstring& path, std::string_view content)
{
    const std::wstring fresh = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".new";
    {
        const UniqueFile file(CreateFileW(fresh.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) {
            Fail(fresh, "cannot be created", GetLastError());
        }
        DWORD writtenBytes = 0;
        if (!WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()),
                       &writtenBytes, nullptr) ||
            writtenBytes != content.size()) {
            Fail(fresh, "cannot be written", GetLastError());
        }
    }
    if (!MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        const DWORD code = GetLastError();
        DeleteFileW(fresh.c_str());
        Fail(path, "cannot be replaced", code);
    }
}

void MakeFolder(const std::wstring& path)
{
    if (CreateDirectoryW(path.c_str(), nullptr)) {
        return;
    }
    DWORD code = GetLastError();
    const std::size_t separator = path.find_last_of(L"\\/");
    if (code == ERROR_PATH_NOT_FOUND && separator != std::wstring::npos && separator > 0) {
        MakeFolder(path.substr(0, separator));
        code = CreateDirectoryW(path.c_str(), nullptr) ? ERROR_SUCCESS : GetLastError();
    }
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        Fail(path, "cannot be made a folder", code);
    }
}

std::string ErrorText(DWORD code)
{
    wchar_t text[256] = {};
    DWORD lengthChars =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text, static_cast<DWORD>(std::size(text)), nullptr);
    while (lengthChars > 0 && (text[lengthChars - 1] <= L' ' || text[lengthChars - 1] == L'.')) {
        --lengthChars;
    }
    const std::string number = std::to_string(code);
    return lengthChars == 0 ? "error " + number : ToUtf8({text, lengthChars}) + " (" + number + ")";
}

}  // namespace kelvor::simulator
