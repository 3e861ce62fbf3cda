#include "logonui/registration.h"

#include <windows.h>

#include <stdexcept>

#include "handle.h"
#include "logonui/provider_class.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

struct RegistryKeyPolicy {
    using Handle = HKEY;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using RegistryKey = Unique<RegistryKeyPolicy>;

const std::wstring kClassPath = std::wstring(L"SOFTWARE\\Classes\\CLSID\\") + kProviderClassText;
const std::wstring kListPath = std::wstring(
                                   L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Authentication\\"
                                   L"Credential Providers\\") +
                               kProviderClassText;
constexpr wchar_t kDescription[] = L"Kelvor FIDO AD logon credential provider";

void WriteString(const std::wstring& path, const wchar_t* name, const std::wstring& value)
{
    RegistryKey key;
    LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_WRITE,
                                     nullptr, key.Receive(), nullptr);
    if (status == ERROR_SUCCESS) {
        status =
            RegSetValueExW(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error("cannot write HKLM\\" + ToUtf8(path) + " (error " +
                                 std::to_string(status) + ")");
    }
}

std::wstring AbsolutePath(const std::wstring& path)
{
    std::wstring result(MAX_PATH, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(result.size()), result.data(), nullptr);
    if (length == 0 || length >= result.size()) {
        throw std::runtime_error("not a usable path: " + ToUtf8(path));
    }
    result.resize(length);
    if (GetFileAttributesW(result.c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw std::runtime_error("there is no module at " + ToUtf8(result));
    }
    return result;
}

}  // namespace

void RegisterProvider(const std::wstring& modulePath)
{
    const std::wstring path = AbsolutePath(modulePath);
    WriteString(kClassPath, nullptr, kDescription);
    WriteString(kClassPath + L"\\InprocServer32", nullptr, path);
    WriteString(kClassPath + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    WriteString(kListPath, nullptr, kDescription);
}

void UnregisterProvider()
{
    for (const std::wstring& path : {kClassPath, kListPath}) {
        const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str());
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) {
            throw std::runtime_error("cannot remove HKLM\\" + ToUtf8(path) + " (error " +
                                     std::to_string(status) + ")");
        }
    }
}

std::wstring RegisteredModule()
{
    wchar_t path[MAX_PATH] = {};
    DWORD sizeBytes = sizeof path;
    const LSTATUS status =
        RegGetValueW(HKEY_LOCAL_MACHINE, (kClassPath + L"\\InprocServer32").c_str(), nullptr,
                     RRF_RT_REG_SZ, nullptr, path, &sizeBytes);
    return status == ERROR_SUCCESS ? path : L"";
}

}  // namespace kelvor::simulator
