#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "ordinal_text.h"
#include "sclogon/card_store.h"
#include "settings/settings.h"

namespace kelvor::admin {
namespace {

constexpr std::uint64_t kTicksPerDay = 24ULL * 60 * 60 * 10'000'000;
constexpr std::uint64_t kSoonDays = 14;

constexpr const char* kRenew =
    "Let the card service renew the certificate: its server has to be reachable. Check the PC's "
    "clock.";

struct UsageName {
    const char* identifier;
    const char* name;
};
constexpr UsageName kUsageNames[] = {
    {"1.3.6.1.4.1.311.20.2.2", "Smart Card Logon"},
    {"1.3.6.1.5.5.7.3.2", "Client Authentication"},
};

// The certificate that a sign-in would use: of the pinned container, or the first for logon.
struct LogonCertificate {
    Certificate certificate;
    std::wstring container;
    int seen = 0;  // certificates on the card up to this one
};

LogonCertificate FindCertificate(const CardStore& store, const std::wstring& pinned)
{
    LogonCertificate found;
    for (found.certificate = store.Next({}); found.certificate;
         found.certificate = store.Next(std::move(found.certificate))) {
        ++found.seen;
        const PCCERT_CONTEXT certificate = found.certificate.Get();
        if (ReadContainer(certificate, found.container) &&
            (pinned.empty() ? IsForSmartCardLogon(certificate) : found.container == pinned)) {
            break;
        }
    }
    return found;
}

std::uint64_t Ticks(const FILETIME& time)
{
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

std::uint64_t Now()
{
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    return Ticks(now);
}

std::string Day(const FILETIME& time)
{
    SYSTEMTIME parts = {};
    FileTimeToSystemTime(&time, &parts);
    std::array<char, 16> text = {};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02u", parts.wYear, parts.wMonth,
                  parts.wDay);
    return text.data();
}

std::string UsagesText(PCCERT_CONTEXT certificate)
{
    std::string text;
    for (const std::string& identifier : ReadUsages(certificate)) {
        const auto* const known =
            std::ranges::find(kUsageNames, identifier, &UsageName::identifier);
        text += (text.empty() ? "" : ", ") +
                (known != std::end(kUsageNames) ? std::string(known->name) : identifier);
    }
    return text.empty() ? "no usage named" : "for " + text;
}

// What is wrong with the certificate, the worst first; verdict and remedy go into `finding`.
void Judge(PCCERT_CONTEXT certificate, const std::wstring& upn, Finding& finding)
{
    const std::wstring pinnedUpn = ReadSettingString(kContainerUpnValue, L"");
    const std::uint64_t end = Ticks(certificate->pCertInfo->NotAfter);
    const std::uint64_t now = Now();
    const auto tell = [&](Verdict verdict, const char* what, const char* remedy) {
        finding.verdict = verdict;
        finding.seen += what;
        finding.remedy = remedy;
    };
    if (now > end) {
        tell(Verdict::kFail, "; it has expired", kRenew);
    } else if (now < Ticks(certificate->pCertInfo->NotBefore)) {
        tell(Verdict::kFail, "; it is not valid yet", "Set the PC's clock and time zone right.");
    } else if (!IsForSmartCardLogon(certificate)) {
        tell(Verdict::kFail, "; it is not for smart-card logon",
             "Let the card service enrol a certificate with the usage Smart Card Logon "
             "(1.3.6.1.4.1.311.20.2.2), or take the setting Container away.");
    } else if (!upn.empty() && !pinnedUpn.empty() && !EqualIgnoringCase(upn, pinnedUpn)) {
        tell(Verdict::kWarn, "; ContainerUpn names another account",
             "Correct ContainerUpn, or take it and Container away.");
    } else if (upn.empty()) {
        tell(Verdict::kWarn, "; it names no UPN",
             "The domain finds the account only by an explicit mapping (altSecurityIdentities): "
             "make one, or let the card service enrol a certificate with a UPN.");
    } else if (end - now < kSoonDays * kTicksPerDay) {
        tell(Verdict::kWarn, "; it expires soon", kRenew);
    }
}

Finding NoCertificate(int seen, const std::wstring& pinned)
{
    Finding finding{.check = "certificate", .verdict = Verdict::kFail};
    if (pinned.empty()) {
        finding.seen = "none of the card's " + std::to_string(seen) +
                       " certificate(s) is for smart-card logon and has a key container";
        finding.remedy =
            "Let the card service set the card up for this account, with a certificate for Smart "
            "Card Logon (1.3.6.1.4.1.311.20.2.2).";
    } else {
        finding.verdict = Verdict::kWarn;
        finding.seen = "the pinned container '" + Utf16ToUtf8(pinned) + "' is not on the card";
        finding.remedy =
            "It is another account's card, or Container is wrong: take Container and ContainerUpn "
            "away if this PC is used with several keys.";
    }
    return finding;
}

}  // namespace

Findings CheckCertificate(Circumstances& circumstances)
{
    Finding finding{.check = "certificate"};
    if (!circumstances.cardSeen) {
        finding.verdict = Verdict::kSkip;
        finding.seen = "there is no card to read it from";
        return {finding};
    }
    const std::wstring csp = ReadSettingString(kCspValue, kDefaultCsp);
    const CardStore store(csp);
    if (!store) {
        finding.verdict = Verdict::kFail;
        finding.seen = "the provider '" + Utf16ToUtf8(csp) + "' cannot read the card";
        finding.remedy =
            "Correct the setting Csp, or take it away; see that the card's driver (minidriver) is "
            "installed.";
        return {finding};
    }
    const std::wstring pinned = ReadSettingString(kContainerValue, L"");
    const LogonCertificate found = FindCertificate(store, pinned);
    if (!found.certificate) {
        return {NoCertificate(found.seen, pinned)};
    }
    const PCCERT_CONTEXT certificate = found.certificate.Get();
    const std::wstring upn = ReadUpn(certificate);
    finding.seen = (upn.empty() ? "someone" : Utf16ToUtf8(upn)) + ", valid from " +
                   Day(certificate->pCertInfo->NotBefore) + " to " +
                   Day(certificate->pCertInfo->NotAfter) + ", " + UsagesText(certificate) +
                   ", container '" + Utf16ToUtf8(found.container) + "'";
    Judge(certificate, upn, finding);
    return {finding};
}

}  // namespace kelvor::admin
