#include "private_registry.h"

namespace kelvor::test {
namespace {

constexpr const wchar_t* kSettingsPath = L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard";

}  // namespace

PrivateRegistry::PrivateRegistry()
    : path_(L"Software\\KelvorUnitTests\\" + std::to_wstring(GetCurrentProcessId()))
{
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &root_, nullptr);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, root_);
}

PrivateRegistry::~PrivateRegistry()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(root_);
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
}

void PrivateRegistry::CreateKey()
{
    HKEY key = nullptr;
    RegCreateKeyExW(root_, kSettingsPath, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
    RegCloseKey(key);
}

void PrivateRegistry::SetDword(const wchar_t* name, DWORD value)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&value);
    SetBytes(name, REG_DWORD, {bytes, bytes + sizeof value});
}

void PrivateRegistry::SetText(const wchar_t* name, const std::wstring& value, DWORD type)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.c_str());
    SetBytes(name, type, {bytes, bytes + (value.size() + 1) * sizeof(wchar_t)});
}

void PrivateRegistry::SetBytes(const wchar_t* name, DWORD type,
                               const std::vector<unsigned char>& value)
{
    // A text is stored with one character more when that happens to be a NUL.
    std::vector<unsigned char> guarded = value;
    guarded.insert(guarded.end(), {'x', 'x'});
    HKEY key = nullptr;
    RegCreateKeyExW(root_, kSettingsPath, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
    RegSetValueExW(key, name, 0, type, guarded.data(), static_cast<DWORD>(value.size()));
    RegCloseKey(key);
}

}  // namespace kelvor::test
