#include <algorithm>
#include <atomic>

#include "support/isolation.h"
#include "surroundings/optional_patch.h"

namespace kelvor::test {
namespace {

std::atomic<RegistryRoom*> active{nullptr};

constexpr const wchar_t* kSettingsPath = L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard";

LSTATUS AsStatus(DWORD code) noexcept
{
    return static_cast<LSTATUS>(code);
}

}  // namespace

struct RegistryRoomEntry {
    static HKEY Divert(const RegistryRoom& self, HKEY key)
    {
        return key == HKEY_LOCAL_MACHINE ? self.root_ : key;
    }

    static LSTATUS WINAPI OpenKey(HKEY key, LPCWSTR path, DWORD options, REGSAM access,
                                  PHKEY opened)
    {
        RegistryRoom& self = *active;
        if (const auto code = self.calls_.Enter("RegOpenKeyExW", path)) {
            return AsStatus(*code);
        }
        const LSTATUS status = RegOpenKeyExW(Divert(self, key), path, options, access, opened);
        if (status == ERROR_SUCCESS) {
            self.lock_.With([&] { self.open_.push_back(*opened); });
        }
        return status;
    }

    static LSTATUS WINAPI CloseKey(HKEY key)
    {
        RegistryRoom& self = *active;
        self.calls_.Enter("RegCloseKey");
        self.lock_.With([&] { std::erase(self.open_, key); });
        return RegCloseKey(key);
    }

    static LSTATUS WINAPI QueryValue(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type,
                                     LPBYTE data, LPDWORD size)
    {
        if (const auto code = (*active).calls_.Enter("RegQueryValueExW", name)) {
            return AsStatus(*code);
        }
        return RegQueryValueExW(key, name, reserved, type, data, size);
    }

    static LSTATUS WINAPI GetValue(HKEY key, LPCWSTR path, LPCWSTR name, DWORD flags, LPDWORD type,
                                   PVOID data, LPDWORD size)
    {
        RegistryRoom& self = *active;
        if (const auto code = self.calls_.Enter("RegGetValueW", name)) {
            return AsStatus(*code);
        }
        return RegGetValueW(Divert(self, key), path, name, flags, type, data, size);
    }
};

RegistryRoom::RegistryRoom(HMODULE module)
    : path_(L"Software\\KelvorTests\\" + std::to_wstring(GetCurrentProcessId()))
{
    active = this;
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &root_, nullptr);
    simulator::PatchIfImported(patches_, module, "RegOpenKeyExW", &RegistryRoomEntry::OpenKey);
    simulator::PatchIfImported(patches_, module, "RegCloseKey", &RegistryRoomEntry::CloseKey);
    simulator::PatchIfImported(patches_, module, "RegQueryValueExW",
                               &RegistryRoomEntry::QueryValue);
    simulator::PatchIfImported(patches_, module, "RegGetValueW", &RegistryRoomEntry::GetValue);
}

RegistryRoom::~RegistryRoom()
{
    patches_.clear();
    active = nullptr;
    RegCloseKey(root_);
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
}

void RegistryRoom::SetDword(const wchar_t* name, DWORD value)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&value);
    SetBytes(name, REG_DWORD, {bytes, bytes + sizeof value});
}

void RegistryRoom::SetString(const wchar_t* name, const std::wstring& value, DWORD type)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.c_str());
    SetBytes(name, type, {bytes, bytes + (value.size() + 1) * sizeof(wchar_t)});
}

void RegistryRoom::SetBytes(const wchar_t* name, DWORD type,
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

void RegistryRoom::Remove(const wchar_t* name)
{
    RegDeleteKeyValueW(root_, kSettingsPath, name);
}

void RegistryRoom::RemoveKey()
{
    RegDeleteTreeW(root_, L"SOFTWARE");
}

std::size_t RegistryRoom::Outstanding() const
{
    return lock_.With([&] { return open_.size(); });
}

}  // namespace kelvor::test
