#include "logonui/state_folder.h"

#include <windows.h>

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
using File = Unique<FilePolicy>;

struct FindPolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle find) noexcept { FindClose(find); }
};

std::wstring FreshPath()
{
    wchar_t base[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, base);
    return std::wstring(base) + L"KelvorSim-" + std::to_wstring(GetCurrentProcessId());
}

void RemoveTree(const std::wstring& folder)
{
    WIN32_FIND_DATAW entry = {};
    {
        const Unique<FindPolicy> find(FindFirstFileW((folder + L"\\*").c_str(), &entry));
        BOOL more = static_cast<bool>(find);
        for (; more; more = FindNextFileW(find.Get(), &entry)) {
            const std::wstring name = entry.cFileName;
            const std::wstring path = folder + L"\\" + name;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                DeleteFileW(path.c_str());
            } else if (name != L"." && name != L"..") {
                RemoveTree(path);
            }
        }
    }
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

StateFolder::StateFolder(const std::wstring& path)
    : path_(path.empty() ? FreshPath() : path), temporary_(path.empty())
{
    if (!CreateDirectoryW(path_.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
        throw std::runtime_error("cannot make the folder " + ToUtf8(path_));
    }
}

StateFolder::~StateFolder()
{
    if (temporary_) {
        RemoveTree(path_);
    }
}

std::wstring StateFolder::Write(const wchar_t* name, std::string_view text) const
{
    std::wstring path = path_ + L"\\" + name;
    const File file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || !WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written,
                            nullptr)) {
        throw std::runtime_error("cannot write " + ToUtf8(path));
    }
    return path;
}

}  // namespace kelvor::simulator
