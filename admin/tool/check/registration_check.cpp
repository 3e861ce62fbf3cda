#include <windows.h>

#include <objbase.h>

#include <array>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "check/machine_registry.h"
#include "module_lifetime.h"
#include "ordinal_text.h"

namespace kelvor::admin {
namespace {

constexpr const wchar_t* kProviderList =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Authentication\\Credential Providers\\";
constexpr const wchar_t* kSystemPolicies =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System";

constexpr const char* kInstallAgain =
    "Install the module again; the README names the two registry keys.";

std::wstring ClassId()
{
    std::array<wchar_t, 40> text = {};
    StringFromGUID2(kProviderClassId, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring Expanded(const std::wstring& text)
{
    std::wstring expanded(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    const DWORD sizeChars = ExpandEnvironmentStringsW(text.c_str(), expanded.data(),
                                                      static_cast<DWORD>(expanded.size()));
    expanded.resize(sizeChars > 0 ? sizeChars - 1 : 0);
    return expanded;
}

// Where COM finds the server: a name without a folder is looked for in LogonUI's, the system
// folder.
std::wstring WholePath(std::wstring server)
{
    std::erase(server, L'"');
    server = Expanded(server);
    if (server.find(L'\\') != std::wstring::npos) {
        return server;
    }
    std::array<wchar_t, MAX_PATH> folder = {};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return std::wstring(folder.data()) + L'\\' + server;
}

Finding CheckClass(Circumstances& circumstances)
{
    Finding finding{.check = "registration"};
    const std::wstring key = L"SOFTWARE\\Classes\\CLSID\\" + ClassId() + L"\\InprocServer32";
    const std::wstring server = ReadMachineText(key, L"").value_or(L"");
    if (server.empty()) {
        finding.verdict = Verdict::kFail;
        finding.seen = "the COM class " + Utf16ToUtf8(ClassId()) + " is not registered";
        finding.remedy = kInstallAgain;
        return finding;
    }
    circumstances.moduleFile = WholePath(server);
    const auto threading = ReadMachineText(key, L"ThreadingModel");
    const std::string threadingText =
        threading ? "ThreadingModel " + Utf16ToUtf8(*threading) : "no ThreadingModel";
    finding.seen = Utf16ToUtf8(server) + ", " + threadingText;
    if (!threading || !EqualIgnoringCase(*threading, L"Apartment")) {
        finding.verdict = Verdict::kFail;
        finding.remedy =
            "Set ThreadingModel to Apartment: LogonUI cannot use the module otherwise.";
    }
    return finding;
}

bool IsExcludedByPolicy()
{
    const std::wstring excluded =
        ReadMachineText(kSystemPolicies, L"ExcludedCredentialProviders").value_or(L"");
    return FindStringOrdinal(FIND_FROMSTART, excluded.c_str(), -1, ClassId().c_str(), -1, TRUE) >=
           0;
}

Finding CheckProviderList()
{
    Finding finding{.check = "provider list"};
    const std::wstring key = kProviderList + ClassId();
    if (!MachineKeyExists(key)) {
        finding.verdict = Verdict::kFail;
        finding.seen = "the module is not in Windows' list of credential providers";
        finding.remedy = kInstallAgain;
    } else if (ReadMachineFlag(key, L"Disabled")) {
        finding.verdict = Verdict::kFail;
        finding.seen = "the module is switched off in Windows' list of credential providers";
        finding.remedy = "Remove the value Disabled from its key in that list.";
    } else if (IsExcludedByPolicy()) {
        finding.verdict = Verdict::kFail;
        finding.seen = "a policy excludes the module from Windows' credential providers";
        finding.remedy =
            "Take its class identifier out of the policy \"Exclude credential providers\" "
            "(Computer Configuration, System, Logon).";
    } else {
        finding.seen = "in Windows' list of credential providers";
    }
    return finding;
}

}  // namespace

Findings CheckRegistration(Circumstances& circumstances)
{
    return {CheckClass(circumstances), CheckProviderList()};
}

}  // namespace kelvor::admin
