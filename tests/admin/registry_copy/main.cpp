// kelvor_registry_copy FILE: writes what stands below HKEY_LOCAL_MACHINE\Software to a new file.
// Wine's server does it in one piece, as text; "reg export" asks it for each value.
#include <windows.h>

#include <cstdio>

namespace {

// Reading past every key's rights is a right of its own, which administrators have to switch on.
bool TakeBackupRight()
{
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES wanted = {};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValueW(nullptr, L"SeBackupPrivilege", &wanted.Privileges[0].Luid) ||
        !OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token)) {
        return false;
    }
    const bool taken = AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) &&
                       GetLastError() == ERROR_SUCCESS;
    CloseHandle(token);
    return taken;
}

LSTATUS CopyTo(const char* file)
{
    HKEY software = nullptr;
    if (!TakeBackupRight()) {
        return ERROR_PRIVILEGE_NOT_HELD;
    }
    LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &software);
    if (status == ERROR_SUCCESS) {
        status = RegSaveKeyA(software, file, nullptr);
        RegCloseKey(software);
    }
    return status;
}

}  // namespace

int main(int count, char** words)
{
    if (count != 2) {
        std::fputs("usage: kelvor_registry_copy FILE\n", stderr);
        return 2;
    }
    const LSTATUS status = CopyTo(words[1]);
    std::printf("error %ld\n", status);
    return status == ERROR_SUCCESS ? 0 : 1;
}
