#include "logonui/state_folder.h"

#include <windows.h>

#include "files/whole_file.h"
#include "handle.h"

namespace kelvor::simulator {
namespace {

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
    MakeFolder(path_);
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
    ReplaceWholeFile(path, text);
    return path;
}

void StateFolder::Publish(const std::wstring& world) const
{
    SetEnvironmentVariableW(L"KELVOR_WORLD", world.c_str());
    SetEnvironmentVariableW(L"KELVOR_WORLD_STATE", path_.c_str());
}

}  // namespace kelvor::simulator
