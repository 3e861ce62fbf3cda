#include "system_answers.h"

#define SECURITY_WIN32
#include <security.h>

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace kelvor::test {
namespace {

SystemAnswers* active = nullptr;

LONG WINAPI VerifyTrust(HWND /*window*/, GUID* /*action*/, LPVOID /*data*/)
{
    return active->signature;
}

int WINAPI SystemMetrics(int index)
{
    return index == SM_REMOTESESSION && active->remoteSession ? 1 : 0;
}

BOOLEAN WINAPI UserName(EXTENDED_NAME_FORMAT /*format*/, LPWSTR name, PULONG sizeChars)
{
    if (active->user.empty() || *sizeChars <= active->user.size()) {
        return FALSE;
    }
    std::wcscpy(name, active->user.c_str());
    *sizeChars = static_cast<ULONG>(active->user.size());
    return TRUE;
}

void WINAPI Now(FILETIME* now)
{
    SystemTimeToFileTime(&active->today, now);
}

// The library's file is not looked at: this program stands for it.
HMODULE WINAPI Load(LPCWSTR /*name*/, HANDLE /*reserved*/, DWORD /*flags*/)
{
    SetLastError(active->keyLibraryFailure);
    return active->keyLibraryFailure == 0 ? GetModuleHandleW(nullptr) : nullptr;
}

int HasKey()
{
    return active->keyPluggedIn ? 1 : 0;
}

int HasKeyOnReader()
{
    return active->keyOnReader ? 1 : 0;
}

FARPROC WINAPI Export(HMODULE module, LPCSTR name)
{
    if (module != GetModuleHandleW(nullptr)) {
        return GetProcAddress(module, name);
    }
    if (active->missingExports.contains(name)) {
        return nullptr;
    }
    const bool asksForReader = std::string_view(name) == "prov_has_nfc_device";
    return reinterpret_cast<FARPROC>(
        reinterpret_cast<void*>(asksForReader ? &HasKeyOnReader : &HasKey));
}

}  // namespace

SystemAnswers::SystemAnswers(HMODULE module)
{
    active = this;
    patches_.emplace_back(module, "WinVerifyTrust", &VerifyTrust);
    patches_.emplace_back(module, "GetSystemMetrics", &SystemMetrics);
    patches_.emplace_back(module, "GetUserNameExW", &UserName);
    patches_.emplace_back(module, "GetSystemTimeAsFileTime", &Now);
    patches_.emplace_back(module, "LoadLibraryExW", &Load);
    patches_.emplace_back(module, "GetProcAddress", &Export);
}

SystemAnswers::~SystemAnswers()
{
    patches_.clear();
    active = nullptr;
}

}  // namespace kelvor::test
