#include <windows.h>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "sclogon/reader.h"
#include "settings/settings.h"

namespace kelvor::admin {
namespace {

// Why no card need be seen now; empty when one should be.
std::string WhyNoCard(const std::optional<ServiceStatus>& service)
{
    if (service && !service->provisioned) {
        return "no card is set up yet";
    }
    return service && service->cardHidden ? "the card service hides the card until a key opens it"
                                          : std::string();
}

}  // namespace

Findings CheckReader(Circumstances& circumstances)
{
    Finding finding{.check = "reader"};
    if (GetSystemMetrics(SM_REMOTESESSION) != 0) {
        finding.verdict = Verdict::kSkip;
        finding.seen = "a Remote Desktop session sees the readers of the other computer";
        finding.remedy = "Run the tool at the PC itself, or in a remote shell.";
        return {finding};
    }
    const std::wstring hint = ReadSettingString(kReaderValue, kDefaultReader);
    std::wstring reader;
    std::wstring card;
    const bool found = FindReaderAndCard(hint, reader, card);
    if (found && !card.empty()) {
        circumstances.cardSeen = true;
        finding.seen = "'" + Utf16ToUtf8(reader) + "' holds '" + Utf16ToUtf8(card) + "'";
        return {finding};
    }
    finding.seen = found ? "'" + Utf16ToUtf8(reader) + "' holds no card that Windows knows"
                         : "no smart-card reader's name contains '" + Utf16ToUtf8(hint) + "'";
    const std::string expected = WhyNoCard(circumstances.service);
    if (!expected.empty()) {
        finding.verdict = Verdict::kSkip;
        finding.seen += ": " + expected;
    } else if (found) {
        finding.verdict = Verdict::kWarn;
        finding.remedy =
            "Restart the card service and sign in with a key once. If the card stays unknown, its "
            "ATR is missing in Windows' smart-card database: install the card service again.";
    } else {
        finding.verdict = Verdict::kFail;
        finding.remedy =
            "Start the services SCardSvr (Smart Card) and the card service, and correct the "
            "setting Reader; letter case counts.";
    }
    return {finding};
}

}  // namespace kelvor::admin
