// Values that no administrator's tool would write: every type, sizes about every limit, texts
// without an end, half characters; and a settings key that is not where it seems to be.
#include <windows.h>

#include <winternl.h>

#include <doctest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "private_registry.h"
#include "settings/settings.h"

using namespace kelvor;
using kelvor::test::PrivateRegistry;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr DWORD kTypes[] = {REG_NONE,
                            REG_SZ,
                            REG_EXPAND_SZ,
                            REG_BINARY,
                            REG_DWORD,
                            REG_DWORD_BIG_ENDIAN,
                            REG_LINK,
                            REG_MULTI_SZ,
                            REG_RESOURCE_LIST,
                            REG_FULL_RESOURCE_DESCRIPTOR,
                            REG_RESOURCE_REQUIREMENTS_LIST,
                            REG_QWORD,
                            0x1234,
                            0xFFFFFFFF};
constexpr std::size_t kSizes[] = {0,    1,    2,    3,    4,    5,    6,    7,     8,      9,
                                  509,  510,  511,  512,  513,  514,  1022, 1023,  1024,   1025,
                                  1026, 2046, 2047, 2048, 2049, 2050, 4096, 65535, 1048576};

struct Value {
    DWORD type = REG_NONE;
    Bytes bytes;
};

// The UTF-16 units of a value; half a unit at its end is none.
std::wstring UnitsOf(const Bytes& bytes)
{
    std::wstring units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        units += static_cast<wchar_t>(bytes[i] | bytes[i + 1] << 8);
    }
    return units;
}

// What a text reads as whose room is `capacityBytes`: its last unit is its end, whatever it is.
std::wstring ExpectedText(const Value& value, std::size_t capacityBytes, const wchar_t* byDefault)
{
    if (value.type != REG_SZ || value.bytes.size() > capacityBytes) {
        return byDefault;
    }
    std::wstring text = UnitsOf(value.bytes);
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

bool ExpectedFlag(const Value& value)
{
    return value.type == REG_DWORD && value.bytes.size() == 4 &&
           std::ranges::any_of(value.bytes, [](unsigned char byte) { return byte != 0; });
}

// Whether `text` is what these bytes say up to their first NUL. Half a unit at the end may be lost.
bool IsTextOf(const Bytes& bytes, const std::wstring& text)
{
    const std::wstring units = UnitsOf(bytes);
    const std::wstring whole = units.substr(0, units.find(L'\0'));
    const bool endsInHalf = bytes.size() % 2 == 1 && whole.size() == units.size();
    return text == whole || (endsInHalf && text == whole + static_cast<wchar_t>(bytes.back()));
}

void ForEachValue(const std::function<void(const Value&)>& visit)
{
    for (const DWORD type : kTypes) {
        for (const std::size_t size : kSizes) {
            Bytes letters(size);  // "AAA..." without an end
            for (std::size_t i = 0; i < size; i += 2) {
                letters[i] = 'A';
            }
            Bytes text = letters;  // the same with an end
            std::fill(text.end() - static_cast<std::ptrdiff_t>(std::min<std::size_t>(size, 2)),
                      text.end(), 0);
            Bytes halves(size, 0xD8);  // surrogates that stand alone
            for (const Bytes& bytes : {letters, text, halves, Bytes(size)}) {
                CAPTURE(type);
                CAPTURE(size);
                visit({type, bytes});
            }
        }
    }
}

// The name by which the kernel knows an open key.
std::wstring KernelName(HKEY key)
{
    using QueryKey = NTSTATUS(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);
    constexpr int kKeyNameInformation = 3;
    const auto query = reinterpret_cast<QueryKey>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryKey")));
    struct {
        ULONG lengthBytes;
        wchar_t name[512];
    } information = {};
    ULONG size = 0;
    REQUIRE(query(key, kKeyNameInformation, &information, sizeof information, &size) >= 0);
    return {information.name, information.lengthBytes / sizeof(wchar_t)};
}

// Makes the settings key a link to another key of the private registry, which gets one value.
class LinkedSettingsKey {
 public:
    explicit LinkedSettingsKey(DWORD enabled)
    {
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Elsewhere", 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &target_, nullptr);
        RegSetValueExW(target_, kEnabledValue, 0, REG_DWORD,
                       reinterpret_cast<const BYTE*>(&enabled), sizeof enabled);
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KelvorDirectoryFidoLogon\\SmartCard", 0,
                        nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS, nullptr, &link_, nullptr);
        const std::wstring name = KernelName(target_);
        RegSetValueExW(link_, L"SymbolicLinkValue", 0, REG_LINK,
                       reinterpret_cast<const BYTE*>(name.data()),
                       static_cast<DWORD>(name.size() * sizeof(wchar_t)));
    }
    // A link is deleted by its handle only: a path leads to what it points at.
    ~LinkedSettingsKey()
    {
        using DeleteKey = NTSTATUS(NTAPI*)(HANDLE);
        const auto deleteKey = reinterpret_cast<DeleteKey>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
        deleteKey(link_);
        RegCloseKey(link_);
        RegCloseKey(target_);
    }
    LinkedSettingsKey(const LinkedSettingsKey&) = delete;
    LinkedSettingsKey& operator=(const LinkedSettingsKey&) = delete;

    void RemoveTarget() { RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Elsewhere"); }

 private:
    HKEY target_ = nullptr;
    HKEY link_ = nullptr;
};

}  // namespace

TEST_CASE("A flag of any type, size and content is on only as a number other than zero")
{
    PrivateRegistry registry;
    ForEachValue([&](const Value& value) {
        registry.SetBytes(kEnabledValue, value.type, value.bytes);
        CHECK(ReadSettingFlag(kEnabledValue) == ExpectedFlag(value));
    });
}

TEST_CASE("A text of any type, size and content is itself less its end, or the default")
{
    PrivateRegistry registry;
    ForEachValue([&](const Value& value) {
        registry.SetBytes(kReaderValue, value.type, value.bytes);
        const bool isRight = ReadSettingString(kReaderValue, kDefaultReader) ==
                             ExpectedText(value, 1024, kDefaultReader);
        CHECK(isRight);
    });
}

TEST_CASE("A text of an open key, whatever it is made of, is itself less its end, or none")
{
    PrivateRegistry registry;
    registry.CreateKey();
    const SettingsKey key = OpenSettingsKey();
    ForEachValue([&](const Value& value) {
        registry.SetBytes(kFidoRpIdValue, value.type, value.bytes);
        const bool isRight =
            ReadKeyString(key.Get(), kFidoRpIdValue) == ExpectedText(value, 2048, L"");
        CHECK(isRight);
    });
}

TEST_CASE("A server's base, whatever it is made of, is its text up to the first NUL, or this PC")
{
    PrivateRegistry registry;
    ForEachValue([&](const Value& value) {
        registry.SetBytes(kFidoServerUrlValue, value.type, value.bytes);
        const std::wstring url = ReadServerBaseUrl();
        const bool isText = value.type == REG_SZ || value.type == REG_EXPAND_SZ;
        const bool isRight = url == L"https://localhost" ? !isText || IsTextOf(value.bytes, L"")
                                                         : isText && IsTextOf(value.bytes, url);
        CHECK(isRight);
    });
}

TEST_CASE("A relying party for provisioning, whatever it is made of, stays within its room")
{
    PrivateRegistry registry;
    ForEachValue([&](const Value& value) {
        if (value.type == REG_EXPAND_SZ) {
            return;  // Wine expands what lies behind a text without an end
        }
        registry.SetBytes(kFidoRpIdValue, value.type, value.bytes);
        const std::wstring rpId = ReadProvisioningRpId();
        CHECK(rpId.size() <= 256);
        const bool isRight = rpId.empty() || (value.type == REG_SZ && IsTextOf(value.bytes, rpId));
        CHECK(isRight);
    });
}

TEST_CASE("A settings key that is a link is the key that it points at")
{
    PrivateRegistry registry;
    LinkedSettingsKey link(1);
    CHECK(ReadSettingFlag(kEnabledValue));
}

TEST_CASE("A settings key that links to nothing is missing")
{
    PrivateRegistry registry;
    LinkedSettingsKey link(1);
    link.RemoveTarget();
    CHECK_FALSE(OpenSettingsKey());
    CHECK_FALSE(ReadSettingFlag(kEnabledValue));
}
