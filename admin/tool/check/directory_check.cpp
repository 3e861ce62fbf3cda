#include <windows.h>

#define SECURITY_WIN32
#include <security.h>

#include <array>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "explain/meaning.h"
#include "provider/account_classification.h"
#include "provider/directory.h"

namespace kelvor::admin {
namespace {

constexpr const char* kNetwork =
    "Check network and VPN, that this PC's DNS servers are the domain's, and that the PC is joined; "
    "\"nltest /dsgetdc:DOMAIN\" asks the same.";

Finding CheckDomainController(Circumstances& circumstances)
{
    Finding finding{.check = "domain controller"};
    std::wstring name;
    const ULONGLONG start = GetTickCount64();
    const DWORD error = LocateDomainController(name);
    const ULONGLONG elapsedMs = GetTickCount64() - start;
    if (error != ERROR_SUCCESS) {
        const auto meaning = MeaningOfSystemError(error);
        finding.verdict = Verdict::kFail;
        finding.seen =
            "no domain controller could be located (Windows error " + std::to_string(error) + ")";
        finding.remedy = meaning ? meaning->remedy : kNetwork;
        return finding;
    }
    circumstances.domainControllerFound = true;
    const std::size_t nameStart = name.find_first_not_of(L'\\');
    finding.seen = Utf16ToUtf8(name.substr(nameStart == std::wstring::npos ? 0 : nameStart)) +
                   " was located in " + std::to_string(elapsedMs) + " ms";
    if (elapsedMs >= kSlowDirectoryMs) {
        finding.verdict = Verdict::kWarn;
        finding.remedy =
            "That is slow: a sign-in may take too long for the card. Look at DNS, and at the "
            "domain's sites and subnets.";
    }
    return finding;
}

std::wstring CurrentUser()
{
    std::array<wchar_t, 512> name = {};
    auto sizeChars = static_cast<ULONG>(name.size());
    return GetUserNameExW(NameSamCompatible, name.data(), &sizeChars) ? name.data() : L"";
}

Finding CheckAccount(const Circumstances& circumstances)
{
    Finding finding{.check = "account"};
    const bool named = !circumstances.namedUser.empty();
    const std::wstring user = named ? circumstances.namedUser : CurrentUser();
    finding.seen = user.empty() ? "whoever runs the tool" : Utf16ToUtf8(user);
    if (!IsAdDomainUser(user)) {
        finding.verdict = named ? Verdict::kFail : Verdict::kSkip;
        finding.seen += " is no account of a domain";
        finding.remedy = named ? "Only accounts of an Active Directory domain get a tile; write it "
                                 "as DOMAIN\\name with the domain's NetBIOS name."
                               : "Name the account that is to sign in: --user DOMAIN\\name.";
        return finding;
    }
    if (!circumstances.domainControllerFound) {
        finding.verdict = Verdict::kSkip;
        finding.seen += ": no domain controller can be asked";
        return finding;
    }
    const std::wstring upn = UpnOfAccount(user);
    if (upn.empty()) {
        finding.verdict = Verdict::kWarn;
        finding.seen += ": the directory tells no UPN for this name";
        finding.remedy =
            "See that the account exists and has a userPrincipalName, the one that its certificate "
            "names. Without it the sign-in compares the plain user names.";
        return finding;
    }
    finding.seen += " is " + Utf16ToUtf8(upn);
    return finding;
}

}  // namespace

Findings CheckDirectory(Circumstances& circumstances)
{
    Finding controller = CheckDomainController(circumstances);
    return {std::move(controller), CheckAccount(circumstances)};
}

}  // namespace kelvor::admin
