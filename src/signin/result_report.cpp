#include "signin/result_report.h"

#include "cardsvc/commands.h"
#include "diag/log.h"
#include "signin/nt_status_text.h"

namespace kelvor {
namespace {

// The card service closes the sign gate by itself well before; a card that refuses this late
// refused for the time's sake.
constexpr DWORD kArmWindowLongClosedMs = 20'000;

// STATUS_SMARTCARD_SUBSYSTEM_FAILURE of ntstatus.h.
constexpr LONG kSmartcardSubsystemFailure = static_cast<LONG>(0xC0000321);

constexpr const wchar_t* kTookTooLong =
    L"Sign-in took too long and the security key's authorisation expired before the domain answered. Check this PC's network or VPN connection, then tap your key again.";

StatusText Explain(LONG status, LONG substatus) noexcept
{
    const StatusText detail = NtStatusText(substatus);
    return detail.Mapped() ? detail : NtStatusText(status);
}

bool TookTooLong(DWORD handoverTick, LONG status, LONG substatus) noexcept
{
    if (status == 0 || handoverTick == 0 ||
        (status != kSmartcardSubsystemFailure && substatus != kSmartcardSubsystemFailure)) {
        return false;
    }
    const DWORD elapsedMs = GetTickCount() - handoverTick;
    if (elapsedMs < kArmWindowLongClosedMs) {
        return false;
    }
    LogWarn(
        "ReportResult: the card refused %lu ms after the logon buffer was built - its arm window had long closed, so this is a timing failure, not a key failure.",
        elapsedMs);
    return true;
}

}  // namespace

void ReportSignInResult(SignInTile& tile, LONG status, LONG substatus)
{
    StatusText explanation = Explain(status, substatus);
    if (TookTooLong(tile.Slot().HandoverTick(), status, substatus)) {
        explanation.text = kTookTooLong;
    }
    if (status == 0) {
        LogInfo("ReportResult: ntsStatus=0x%08X subStatus=0x%08X (%ls)", status, substatus,
                L"success");
    } else {
        LogError("ReportResult: ntsStatus=0x%08X subStatus=0x%08X (%ls)", status, substatus,
                 explanation.name);
    }
    DisarmCard();
    if (status == 0) {
        return;
    }
    tile.SetStatus(explanation.text, CPSI_ERROR);
    tile.ClearPin();
    tile.UpdateFieldVisibility(true);
}

}  // namespace kelvor
