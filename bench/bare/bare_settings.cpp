#include "bare/bare_settings.h"

#include <windows.h>

namespace kelvor::bench {
namespace {

HKEY Open()
{
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard", 0, KEY_READ,
                  &key);
    return key;
}

void Query(HKEY key, const wchar_t* name, void* value, DWORD sizeBytes)
{
    DWORD type = 0;
    RegQueryValueExW(key, name, nullptr, &type, static_cast<BYTE*>(value), &sizeBytes);
}

}  // namespace

void ReadFlag(const wchar_t* name)
{
    HKEY key = Open();
    DWORD flag = 0;
    Query(key, name, &flag, sizeof flag);
    RegCloseKey(key);
}

void ReadText(const wchar_t* name)
{
    HKEY key = Open();
    wchar_t text[512];
    Query(key, name, text, sizeof text);
    RegCloseKey(key);
}

void ReadServer()
{
    HKEY key = Open();
    wchar_t text[1024];
    DWORD flag = 0;
    Query(key, L"FidoRpId", text, sizeof text);
    Query(key, L"FidoServerUrl", text, sizeof text);
    Query(key, L"FidoDevInsecureTls", &flag, sizeof flag);
    RegCloseKey(key);
}

}  // namespace kelvor::bench
