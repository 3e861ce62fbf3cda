#include <windows.h>

#include <softpub.h>
#include <wintrust.h>
#include <winver.h>

#include <vector>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "console/code_text.h"
#include "console/version.h"

namespace kelvor::admin {
namespace {

constexpr const char* kNotRegistered = "no DLL is registered";

// The numbers of the file's version resource, such as "1.0.0"; empty when it has none.
std::string VersionOf(const std::wstring& path)
{
    DWORD ignored = 0;
    const DWORD sizeBytes = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    std::vector<unsigned char> resource(sizeBytes);
    void* fixedPart = nullptr;
    UINT fixedBytes = 0;
    if (sizeBytes == 0 || !GetFileVersionInfoW(path.c_str(), 0, sizeBytes, resource.data()) ||
        !VerQueryValueW(resource.data(), L"\\", &fixedPart, &fixedBytes) ||
        fixedBytes < sizeof(VS_FIXEDFILEINFO)) {
        return {};
    }
    const auto* version = static_cast<const VS_FIXEDFILEINFO*>(fixedPart);
    return std::to_string(HIWORD(version->dwFileVersionMS)) + "." +
           std::to_string(LOWORD(version->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(version->dwFileVersionLS));
}

Finding CheckFile(const std::wstring& path)
{
    Finding finding{.check = "module file"};
    if (path.empty()) {
        finding.verdict = Verdict::kSkip;
        finding.seen = kNotRegistered;
        return finding;
    }
    finding.seen = Utf16ToUtf8(path);
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        finding.verdict = Verdict::kFail;
        finding.seen += " is not there";
        finding.remedy = "Install the module again.";
        return finding;
    }
    const std::string version = VersionOf(path);
    finding.seen += version.empty() ? ", without a version" : ", version " + version;
    if (version != ProductVersion()) {
        finding.verdict = Verdict::kWarn;
        finding.seen += std::string("; this tool is version ") + ProductVersion();
        finding.remedy =
            "Use module and tool of one installation; after an update restart the PC, so that "
            "LogonUI lets go of the old file.";
    }
    return finding;
}

// What Windows makes of the file's signature, without asking any server.
LONG VerifySignature(const std::wstring& path)
{
    WINTRUST_FILE_INFO file = {};
    file.cbStruct = sizeof file;
    file.pcwszFilePath = path.c_str();
    WINTRUST_DATA data = {};
    data.cbStruct = sizeof data;
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_NONE;
    data.dwUnionChoice = WTD_CHOICE_FILE;
    data.pFile = &file;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    auto* const noWindow = static_cast<HWND>(INVALID_HANDLE_VALUE);
    const LONG result = WinVerifyTrust(noWindow, &action, &data);
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(noWindow, &action, &data);
    return result;
}

Finding CheckSignature(const std::wstring& path)
{
    Finding finding{.check = "signature"};
    if (path.empty() || GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        finding.verdict = Verdict::kSkip;
        finding.seen = path.empty() ? kNotRegistered : "the DLL is not there";
        return finding;
    }
    const LONG result = VerifySignature(path);
    switch (static_cast<DWORD>(result)) {
        case ERROR_SUCCESS:
            finding.seen = "signed and trusted";
            break;
        case static_cast<DWORD>(TRUST_E_NOSIGNATURE):
        case static_cast<DWORD>(TRUST_E_SUBJECT_FORM_UNKNOWN):
        case static_cast<DWORD>(TRUST_E_PROVIDER_UNKNOWN):
            finding.verdict = Verdict::kWarn;
            finding.seen = "not signed";
            finding.remedy =
                "Windows loads it all the same, but nobody can tell whether it is the file that "
                "was built. Sign it, or install the signed package.";
            break;
        case static_cast<DWORD>(TRUST_E_BAD_DIGEST):
            finding.verdict = Verdict::kFail;
            finding.seen = "the file was changed after it was signed";
            finding.remedy =
                "Do not use it. Install the module again and find out what changed it.";
            break;
        default:
            finding.verdict = Verdict::kWarn;
            finding.seen =
                "signed, but not trusted (" + HexCode(static_cast<std::uint32_t>(result)) + ")";
            finding.remedy =
                "Put the root of the signer's certificate into this PC's trusted root store, and "
                "the signer among the trusted publishers if a policy wants that.";
    }
    return finding;
}

}  // namespace

Findings CheckModuleFile(Circumstances& circumstances)
{
    return {CheckFile(circumstances.moduleFile), CheckSignature(circumstances.moduleFile)};
}

}  // namespace kelvor::admin
