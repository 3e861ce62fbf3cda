#include "logonui/settings_writer.h"

#include <windows.h>

#include <stdexcept>
#include <string>

#include "handle.h"

namespace kelvor::simulator {
namespace {

constexpr wchar_t kSettingsPath[] = L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard";

struct RegistryKeyPolicy {
    using Handle = HKEY;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using RegistryKey = Unique<RegistryKeyPolicy>;

void Require(LSTATUS status)
{
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error("cannot write the module's settings (error " +
                                 std::to_string(status) + ")");
    }
}

void Write(const RegistryKey& key, const wchar_t* name, const std::optional<DWORD>& value)
{
    if (value) {
        Require(RegSetValueExW(key.Get(), name, 0, REG_DWORD,
                               reinterpret_cast<const BYTE*>(&*value), sizeof *value));
    }
}

void Write(const RegistryKey& key, const wchar_t* name, const std::optional<std::wstring>& value)
{
    if (value) {
        Require(RegSetValueExW(key.Get(), name, 0, REG_SZ,
                               reinterpret_cast<const BYTE*>(value->c_str()),
                               static_cast<DWORD>((value->size() + 1) * sizeof(wchar_t))));
    }
}

}  // namespace

void WriteSettings(const SettingsWorld& settings)
{
    const LSTATUS removed = RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSettingsPath);
    if (removed != ERROR_FILE_NOT_FOUND) {
        Require(removed);
    }
    if (!settings.keyExists) {
        return;
    }
    RegistryKey key;
    Require(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSettingsPath, 0, nullptr, 0, KEY_WRITE, nullptr,
                            key.Receive(), nullptr));
    Write(key, L"Enabled", settings.enabled);
    Write(key, L"FidoGate", settings.fidoGate);
    Write(key, L"FidoServerUrl", settings.serverUrl);
    Write(key, L"FidoRpId", settings.rpId);
    Write(key, L"FidoDevInsecureTls", settings.devInsecureTls);
    Write(key, L"Csp", settings.csp);
    Write(key, L"Reader", settings.reader);
    Write(key, L"Container", settings.container);
    Write(key, L"ContainerUpn", settings.containerUpn);
}

}  // namespace kelvor::simulator
