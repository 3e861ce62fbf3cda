#include "settings/settings.h"

#include <doctest.h>

#include <string>
#include <vector>

#include "imports/import_table.h"
#include "private_registry.h"

using namespace kelvor;
using kelvor::simulator::ImportPatch;
using kelvor::test::PrivateRegistry;

namespace {

std::vector<unsigned char> BytesOf(const std::wstring& text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    return {bytes, bytes + text.size() * sizeof(wchar_t)};
}

// A value that is gone when it is read, after its size was asked for.
LSTATUS WINAPI LoseValue(HKEY /*key*/, LPCWSTR /*name*/, DWORD* /*reserved*/, DWORD* /*type*/,
                         BYTE* data, DWORD* sizeBytes)
{
    *sizeBytes = 64;
    return data == nullptr ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

}  // namespace

TEST_CASE("Without the key every setting has its default")
{
    const PrivateRegistry registry;
    CHECK(!OpenSettingsKey());
    CHECK(!ReadSettingFlag(kEnabledValue));
    CHECK(!IsFidoGateOn());
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == L"Kelvor Virtual Smart Card Reader"));
    CHECK((ReadSettingString(kCspValue, kDefaultCsp) ==
           L"Microsoft Base Smart Card Crypto Provider"));
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
    CHECK((ReadProvisioningRpId() == L""));
}

TEST_CASE("Without values every setting has its default")
{
    PrivateRegistry registry;
    registry.CreateKey();
    const SettingsKey key = OpenSettingsKey();
    REQUIRE(key);
    CHECK(!ReadSettingFlag(kEnabledValue));
    CHECK(!ReadKeyFlag(key.Get(), kFidoDevInsecureTlsValue));
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == kDefaultReader));
    CHECK((ReadKeyString(key.Get(), kFidoRpIdValue) == L""));
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
    CHECK((ReadProvisioningRpId() == L""));
}

TEST_CASE("A flag is any number but zero")
{
    PrivateRegistry registry;
    for (const DWORD value : {1ul, 2ul, 0x80000000ul, 0xFFFFFFFFul}) {
        registry.SetDword(kEnabledValue, value);
        CHECK(ReadSettingFlag(kEnabledValue));
    }
    registry.SetDword(kEnabledValue, 0);
    CHECK(!ReadSettingFlag(kEnabledValue));
}

TEST_CASE("A flag of another type is off")
{
    PrivateRegistry registry;
    registry.SetText(kEnabledValue, L"1");
    CHECK(!ReadSettingFlag(kEnabledValue));
    registry.SetBytes(kEnabledValue, REG_BINARY, {1, 0, 0, 0});
    CHECK(!ReadSettingFlag(kEnabledValue));
    registry.SetBytes(kEnabledValue, REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0});
    CHECK(!ReadSettingFlag(kEnabledValue));
    registry.SetBytes(kEnabledValue, REG_DWORD_BIG_ENDIAN, {0, 0, 0, 1});
    CHECK(!ReadSettingFlag(kEnabledValue));
}

TEST_CASE("A flag that has not four bytes is off")
{
    PrivateRegistry registry;
    registry.SetBytes(kEnabledValue, REG_DWORD, {1, 0});
    CHECK(!ReadSettingFlag(kEnabledValue));
    registry.SetBytes(kEnabledValue, REG_DWORD, {});
    CHECK(!ReadSettingFlag(kEnabledValue));
}

TEST_CASE("The gate follows its value at once")
{
    PrivateRegistry registry;
    registry.SetDword(kFidoGateValue, 1);
    CHECK(IsFidoGateOn());
    registry.SetDword(kFidoGateValue, 0);
    CHECK(!IsFidoGateOn());
}

TEST_CASE("A flag of an open key reads like the others")
{
    PrivateRegistry registry;
    registry.SetDword(kFidoDevInsecureTlsValue, 1);
    registry.SetText(kEnabledValue, L"1");
    const SettingsKey key = OpenSettingsKey();
    CHECK(ReadKeyFlag(key.Get(), kFidoDevInsecureTlsValue));
    CHECK(!ReadKeyFlag(key.Get(), kEnabledValue));
}

TEST_CASE("A text is read without its terminator")
{
    PrivateRegistry registry;
    registry.SetText(kReaderValue, L"Reader \u2014 1");
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == L"Reader \u2014 1"));
}

TEST_CASE("An empty text is not a missing one")
{
    PrivateRegistry registry;
    registry.SetText(kReaderValue, L"");
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == L""));
}

TEST_CASE("A text without any byte is empty")
{
    PrivateRegistry registry;
    registry.SetBytes(kReaderValue, REG_SZ, {});
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == L""));
}

TEST_CASE("A text that was stored without a terminator loses its last character")
{
    PrivateRegistry registry;
    registry.SetBytes(kReaderValue, REG_SZ, BytesOf(L"Reader"));
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == L"Reade"));
}

TEST_CASE("A text of 511 characters is the longest")
{
    PrivateRegistry registry;
    const std::wstring longest(511, L'r');
    registry.SetText(kReaderValue, longest);
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == longest));
    registry.SetText(kReaderValue, longest + L'r');
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == kDefaultReader));
    registry.SetText(kReaderValue, std::wstring(600, L'r'));
    CHECK((ReadSettingString(kReaderValue, kDefaultReader) == kDefaultReader));
}

TEST_CASE("A text of another type reads as its default")
{
    PrivateRegistry registry;
    registry.SetText(kCspValue, L"Other provider", REG_EXPAND_SZ);
    CHECK((ReadSettingString(kCspValue, kDefaultCsp) == kDefaultCsp));
    registry.SetText(kCspValue, L"Other provider", REG_MULTI_SZ);
    CHECK((ReadSettingString(kCspValue, kDefaultCsp) == kDefaultCsp));
    registry.SetDword(kCspValue, 1);
    CHECK((ReadSettingString(kCspValue, kDefaultCsp) == kDefaultCsp));
}

TEST_CASE("A text of an open key may have 1023 characters")
{
    PrivateRegistry registry;
    const std::wstring longest(1023, L'u');
    registry.SetText(kFidoServerUrlValue, longest);
    const SettingsKey key = OpenSettingsKey();
    CHECK((ReadKeyString(key.Get(), kFidoServerUrlValue) == longest));
    registry.SetText(kFidoServerUrlValue, longest + L'u');
    CHECK((ReadKeyString(key.Get(), kFidoServerUrlValue) == L""));
}

TEST_CASE("A text of an open key must not be expandable")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"https://%COMPUTERNAME%.corp.example/", REG_EXPAND_SZ);
    const SettingsKey key = OpenSettingsKey();
    CHECK((ReadKeyString(key.Get(), kFidoServerUrlValue) == L""));
}

TEST_CASE("The server's base loses every slash at its end")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"https://signin.corp.example/");
    CHECK((ReadServerBaseUrl() == L"https://signin.corp.example"));
    registry.SetText(kFidoServerUrlValue, L"https://signin.corp.example/base//");
    CHECK((ReadServerBaseUrl() == L"https://signin.corp.example/base"));
}

TEST_CASE("A server's base made of slashes ends empty")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"///");
    CHECK((ReadServerBaseUrl() == L""));
}

TEST_CASE("An empty server's base is this PC")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"");
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
}

TEST_CASE("An expandable server's base is taken as it is written")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"https://%COMPUTERNAME%.corp.example/", REG_EXPAND_SZ);
    CHECK((ReadServerBaseUrl() == L"https://%COMPUTERNAME%.corp.example"));
}

TEST_CASE("A server's base of another type is this PC")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"https://signin.corp.example", REG_MULTI_SZ);
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
    registry.SetDword(kFidoServerUrlValue, 0x00410041);
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
}

TEST_CASE("A server's base has no length limit")
{
    PrivateRegistry registry;
    const std::wstring url = L"https://" + std::wstring(5000, L'u');
    registry.SetText(kFidoServerUrlValue, url + L'/');
    CHECK((ReadServerBaseUrl() == url));
}

TEST_CASE("A server's base ends at its first NUL")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, std::wstring(L"https://a/\0https://b", 20));
    CHECK((ReadServerBaseUrl() == L"https://a"));
}

TEST_CASE("A server's base is whole without its terminator, too")
{
    PrivateRegistry registry;
    registry.SetBytes(kFidoServerUrlValue, REG_SZ, BytesOf(L"https://a"));
    CHECK((ReadServerBaseUrl() == L"https://a"));
    auto odd = BytesOf(L"https://a");
    odd.push_back('x');
    registry.SetBytes(kFidoServerUrlValue, REG_SZ, odd);
    CHECK((ReadServerBaseUrl().substr(0, 9) == L"https://a"));
}

TEST_CASE("The provisioning's relying party has up to 255 characters")
{
    PrivateRegistry registry;
    const std::wstring longest(255, L'p');
    registry.SetText(kFidoRpIdValue, longest);
    CHECK((ReadProvisioningRpId() == longest));
    registry.SetText(kFidoRpIdValue, longest + L'p');
    CHECK((ReadProvisioningRpId() == L""));
}

TEST_CASE("The provisioning's relying party must be a text")
{
    PrivateRegistry registry;
    registry.SetText(kFidoRpIdValue, L"corp.example");
    CHECK((ReadProvisioningRpId() == L"corp.example"));
    registry.SetText(kFidoRpIdValue, L"corp.example", REG_MULTI_SZ);
    CHECK((ReadProvisioningRpId() == L""));
    registry.SetDword(kFidoRpIdValue, 1);
    CHECK((ReadProvisioningRpId() == L""));
}

TEST_CASE("Windows expands the provisioning's relying party")
{
    PrivateRegistry registry;
    SetEnvironmentVariableW(L"KELVOR_TEST_DOMAIN", L"corp");
    registry.SetText(kFidoRpIdValue, L"%KELVOR_TEST_DOMAIN%.example", REG_EXPAND_SZ);
    CHECK((ReadProvisioningRpId() == L"corp.example"));
}

TEST_CASE("A server's base that goes while it is read is this PC")
{
    PrivateRegistry registry;
    registry.SetText(kFidoServerUrlValue, L"https://signin.corp.example");
    const ImportPatch patch(GetModuleHandleW(nullptr), "RegQueryValueExW", &LoseValue);
    CHECK((ReadServerBaseUrl() == L"https://localhost"));
}
