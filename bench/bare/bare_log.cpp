#include "bare/bare_log.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <iterator>

namespace kelvor::bench {
namespace {

constexpr wchar_t kFolder[] = L"\\KelvorDirectoryFidoLogon\\Logs";
constexpr wchar_t kName[] = L"\\CredentialProviderFido.log";
constexpr DWORD kRotationThresholdBytes = 0x100000;

void RotateWhenLarge(const wchar_t* file)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes;
    if (GetFileAttributesExW(file, GetFileExInfoStandard, &attributes) &&
        attributes.nFileSizeLow >= kRotationThresholdBytes) {
        wchar_t rotated[262];
        std::wcscpy(rotated, file);
        std::wcscat(rotated, L".1");
        MoveFileExW(file, rotated, MOVEFILE_REPLACE_EXISTING);
    }
}

}  // namespace

void BareLog(const char* level, const char* format, ...)
{
    wchar_t path[260];
    const DWORD length = GetEnvironmentVariableW(L"ProgramData", path, 260);
    if (length + std::size(kFolder) > 260) {
        return;
    }
    std::wcscpy(path + length, kFolder);
    wchar_t* const last = std::wcsrchr(path, L'\\');
    *last = L'\0';
    CreateDirectoryW(path, nullptr);
    *last = L'\\';
    CreateDirectoryW(path, nullptr);
    std::wcscat(path, kName);

    HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Global\\KelvorDirectoryFidoLogonLog");
    WaitForSingleObject(mutex, 2000);
    RotateWhenLarge(path);
    std::FILE* const file = _wfopen(path, L"a");
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::fprintf(file, "%04u-%02u-%02u %02u:%02u:%02u.%03u  pid=%-5lu tid=%-5lu  %-5s  ", now.wYear,
                 now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds,
                 GetCurrentProcessId(), GetCurrentThreadId(), level);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(file, format, arguments);
    va_end(arguments);
    std::fputc('\n', file);
    std::fclose(file);
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}

}  // namespace kelvor::bench
