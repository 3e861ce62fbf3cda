#include <windows.h>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "check/stored_setting.h"
#include "settings/settings.h"

namespace kelvor::admin {
namespace {

constexpr std::size_t kMostChars = 511;
constexpr std::size_t kMostUrlChars = 1023;
constexpr std::size_t kMostRpIdChars = 255;

std::string Quoted(const std::wstring& value)
{
    return "'" + Utf16ToUtf8(value) + "'";
}

// A finding about one value, with what is wrong with it as it stands in the registry: the wrong
// type, or more text than the module reads.
class SettingFinding {
 public:
    SettingFinding(const wchar_t* name, DWORD type, std::size_t mostChars = 0)
        : stored_(ReadStoredSetting(name))
    {
        finding_.check = "setting " + Utf16ToUtf8(name);
        if (stored_.there && stored_.type != type) {
            flaw_ =
                "it is " + RegistryTypeName(stored_.type) + " instead of " + RegistryTypeName(type);
            Tell(Verdict::kWarn, "Write it as " + RegistryTypeName(type) + ".");
        } else if (stored_.there && mostChars != 0 && stored_.Chars() > mostChars) {
            flaw_ = "it has " + std::to_string(stored_.Chars()) + " characters";
            Tell(Verdict::kWarn,
                 "Shorten it to at most " + std::to_string(mostChars) + " characters.");
        }
    }

    // Whether the value counts as it was written.
    bool Sound() const noexcept { return flaw_.empty(); }
    bool Counts() const noexcept { return stored_.there && Sound(); }

    // What the module takes for the value.
    void Effective(const std::string& value)
    {
        finding_.seen = value;
        if (!Sound()) {
            finding_.seen += ": " + flaw_;
        } else if (!stored_.there) {
            finding_.seen += " (not set)";
        }
    }
    // Adds a judgement; what the registry's form says already stays said.
    void Judge(Verdict verdict, const char* seen, const char* remedy)
    {
        finding_.seen += seen;
        if (Sound()) {
            Tell(verdict, remedy);
        } else {
            finding_.verdict = verdict;
        }
    }
    Finding Take() { return std::move(finding_); }

 private:
    void Tell(Verdict verdict, std::string remedy)
    {
        finding_.verdict = verdict;
        finding_.remedy = std::move(remedy);
    }

    StoredSetting stored_;
    std::string flaw_;
    Finding finding_;
};

std::string OnOff(bool on)
{
    return on ? "on" : "off";
}

Finding CheckEnabled()
{
    SettingFinding setting(kEnabledValue, REG_DWORD);
    const bool on = ReadSettingFlag(kEnabledValue);
    setting.Effective(OnOff(on));
    if (!on) {
        setting.Judge(Verdict::kFail, "",
                      "Set it to 1: nobody signs in with a key while it is off.");
    }
    return setting.Take();
}

Finding CheckGate()
{
    SettingFinding setting(kFidoGateValue, REG_DWORD);
    const bool on = IsFidoGateOn();
    setting.Effective(OnOff(on));
    if (!on) {
        setting.Judge(Verdict::kWarn, "",
                      "Set it to 1, unless this PC is still to be set up by its first sign-in: "
                      "later ones are refused while it is off.");
    }
    return setting.Take();
}

Finding CheckServerUrl()
{
    SettingFinding setting(kFidoServerUrlValue, REG_SZ, kMostUrlChars);
    const bool gateOn = IsFidoGateOn();
    const SettingsKey key = OpenSettingsKey();
    const std::wstring forKeys =
        key ? ReadKeyString(key.Get(), kFidoServerUrlValue) : std::wstring();
    const std::wstring url = gateOn ? forKeys : ReadServerBaseUrl();
    setting.Effective(url.empty() ? "none" : Quoted(url));
    constexpr const char* kWriteUrl =
        "Write the address of the sign-in server, such as https://signin.corp.example.";
    if (url.empty()) {
        setting.Judge(Verdict::kFail, "", kWriteUrl);
    } else if (!setting.Counts()) {
        setting.Judge(Verdict::kWarn, "", kWriteUrl);
    } else if (url.starts_with(L"http://")) {
        setting.Judge(Verdict::kWarn, "; it is not encrypted",
                      "Use https://: anybody on the network can pass for the server otherwise.");
    } else if (!url.starts_with(L"https://")) {
        setting.Judge(Verdict::kWarn, "; it does not begin with https://", kWriteUrl);
    }
    return setting.Take();
}

Finding CheckRpId()
{
    SettingFinding setting(kFidoRpIdValue, REG_SZ, kMostRpIdChars);
    const SettingsKey key = OpenSettingsKey();
    const std::wstring id = !IsFidoGateOn() ? ReadProvisioningRpId()
                            : key           ? ReadKeyString(key.Get(), kFidoRpIdValue)
                                            : std::wstring();
    setting.Effective(id.empty() ? "the card service's own" : Quoted(id));
    if (id.find_first_of(L":/") != std::wstring::npos) {
        setting.Judge(Verdict::kWarn, "; it is no host name",
                      "Write the host name alone, without https:// and without a port.");
    }
    return setting.Take();
}

Finding CheckInsecureTls()
{
    SettingFinding setting(kFidoDevInsecureTlsValue, REG_DWORD);
    const bool on = ReadSettingFlag(kFidoDevInsecureTlsValue);
    setting.Effective(OnOff(on));
    if (on) {
        setting.Judge(Verdict::kWarn, "; the server's certificate is not checked",
                      "Remove it: it is for development only, and lets anybody on the network pass "
                      "for the sign-in server.");
    }
    return setting.Take();
}

Finding CheckCspName()
{
    SettingFinding setting(kCspValue, REG_SZ, kMostChars);
    const std::wstring csp = ReadSettingString(kCspValue, kDefaultCsp);
    setting.Effective(Quoted(csp));
    if (csp.empty()) {
        setting.Judge(Verdict::kWarn, "; no provider has this name",
                      "Remove it, so that Windows' own smart-card provider is used.");
    }
    return setting.Take();
}

Finding CheckReaderName()
{
    SettingFinding setting(kReaderValue, REG_SZ, kMostChars);
    const std::wstring reader = ReadSettingString(kReaderValue, kDefaultReader);
    setting.Effective(Quoted(reader));
    if (reader.empty()) {
        setting.Judge(Verdict::kWarn, "; any reader is taken",
                      "Remove it, so that the card service's own reader is used.");
    }
    return setting.Take();
}

Finding CheckContainer()
{
    SettingFinding setting(kContainerValue, REG_SZ, kMostChars);
    const std::wstring container = ReadSettingString(kContainerValue, L"");
    setting.Effective(container.empty() ? "found on the card" : Quoted(container));
    if (!container.empty() && ReadSettingString(kContainerUpnValue, L"").empty()) {
        setting.Judge(Verdict::kWarn, "; ContainerUpn does not say whose it is",
                      "Write the account's UPN into ContainerUpn, or remove Container: it is found "
                      "on the card by itself.");
    }
    return setting.Take();
}

Finding CheckContainerUpn()
{
    SettingFinding setting(kContainerUpnValue, REG_SZ, kMostChars);
    const std::wstring upn = ReadSettingString(kContainerUpnValue, L"");
    setting.Effective(upn.empty() ? "none" : Quoted(upn));
    if (upn.empty()) {
        return setting.Take();
    }
    if (upn.find(L'@') == std::wstring::npos) {
        setting.Judge(Verdict::kWarn, "; it is no UPN",
                      "Write it as name@domain, or remove it together with Container.");
    } else if (ReadSettingString(kContainerValue, L"").empty()) {
        setting.Judge(Verdict::kWarn, "; no Container is pinned that it could speak of",
                      "Remove it, or pin the Container that it belongs to.");
    }
    return setting.Take();
}

}  // namespace

Findings CheckSettings(Circumstances& /*circumstances*/)
{
    return {CheckEnabled(),    CheckGate(),        CheckServerUrl(),
            CheckRpId(),       CheckInsecureTls(), CheckCspName(),
            CheckReaderName(), CheckContainer(),   CheckContainerUpn()};
}

}  // namespace kelvor::admin
