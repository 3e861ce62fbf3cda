#include "scratch_folder.h"

#include <windows.h>

#include "files/whole_file.h"

namespace kelvor::test {

ScratchFolder::ScratchFolder()
{
    static int number = 0;
    wchar_t temporary[MAX_PATH];
    GetTempPathW(MAX_PATH, temporary);
    path_ = temporary + std::wstring(L"kelvor-") + std::to_wstring(GetCurrentProcessId()) + L"-" +
            std::to_wstring(++number);
    simulator::MakeFolder(path_);
}

ScratchFolder::~ScratchFolder()
{
    WIN32_FIND_DATAW entry{};
    const HANDLE search = FindFirstFileW((path_ + L"\\*").c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            DeleteFileW((path_ + L"\\" + entry.cFileName).c_str());
        } while (FindNextFileW(search, &entry));
        FindClose(search);
    }
    RemoveDirectoryW(path_.c_str());
}

std::wstring ScratchFolder::Write(const wchar_t* name, std::string_view content) const
{
    const std::wstring path = path_ + L"\\" + name;
    simulator::ReplaceWholeFile(path, content);
    return path;
}

}  // namespace kelvor::test
