#include <windows.h>

#include <algorithm>

#include "cardsvc/commands.h"
#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "console/code_text.h"
#include "explain/meaning.h"
#include "settings/settings.h"

namespace kelvor::admin {
namespace {

constexpr const char* kRestart =
    "Restart the card service and look at its own log; if it is out of date, update it.";

Finding Failed(HRESULT hr, const std::wstring& reason)
{
    Finding finding{.check = "card service", .verdict = Verdict::kFail};
    const auto code = static_cast<std::uint32_t>(hr);
    finding.seen = Utf16ToUtf8(reason) + " (" + HexCode(code) + ")";
    const auto meaning = MeaningOfHresult(code);
    finding.remedy = meaning && hr != E_FAIL ? meaning->remedy : kRestart;
    if (hr == E_ACCESSDENIED) {
        finding.verdict = Verdict::kWarn;
        finding.remedy =
            "The card service answers SYSTEM, as which LogonUI runs, but perhaps not this account: "
            "run the tool as an administrator, or as SYSTEM from a scheduled task. If it fails "
            "there, too, look at the card service's own log.";
    }
    return finding;
}

Finding Answered(const ServiceStatus& status, ULONGLONG elapsedMs)
{
    Finding finding{.check = "card service"};
    finding.seen = "answered in " + std::to_string(elapsedMs) + " ms: ";
    finding.seen += status.provisioned ? "the card is set up" : "no card is set up yet";
    finding.seen += status.cardHidden ? ", hidden until a key opens it" : "";
    if (!status.provisioned) {
        finding.seen += "; the first sign-in does it";
    } else if (!IsFidoGateOn()) {
        finding.verdict = Verdict::kFail;
        finding.seen += ", but FidoGate is off";
        finding.remedy =
            "Set FidoGate to 1: with a card that is set up, every sign-in is refused while it is "
            "off.";
    }
    return finding;
}

}  // namespace

Findings CheckCardService(Circumstances& circumstances)
{
    ServiceStatus status;
    std::wstring reason;
    const ULONGLONG start = GetTickCount64();
    const HRESULT hr = QueryStatus(status, reason);
    if (FAILED(hr)) {
        return {Failed(hr, reason)};
    }
    circumstances.service = status;
    return {Answered(status, GetTickCount64() - start)};
}

}  // namespace kelvor::admin
