#include "signin/sign_in_flow.h"

#include <optional>
#include <string>
#include <utility>

#include "diag/log.h"
#include "fido/assertion.h"
#include "guarded.h"
#include "module_lifetime.h"
#include "sclogon/logon_buffer.h"
#include "settings/settings.h"
#include "signin/account_match.h"
#include "signin/card_provisioning.h"
#include "signin/status_texts.h"

namespace kelvor {
namespace {

// The steps of one run, in the order in which they happen. A step that refuses has already said why
// on the tile and in the log.
class SignInRun {
 public:
    SignInRun(SignInTile& tile, SignInOutcome& outcome)
        : tile_(tile), outcome_(outcome), pin_(tile.TakePin())
    {
    }

    void Run();

 private:
    void WarnWithoutDomainController() const;
    bool AccountIsServed() const;
    bool DomainSignInIsEnabled() const;
    // The "Other user" tile names nobody: the key has to say first which accounts it holds.
    bool TapBeforeBuild();
    bool TapKey();
    bool BuildCredential(const std::wstring& preArmedUpn);
    bool AccountMatches() const;
    void HandOver();

    SignInTile& tile_;
    SignInOutcome& outcome_;
    const SecretText pin_;
    std::optional<PendingTap> tap_;
    bool pickerUsed_ = false;
    std::wstring resolvedUpn_;
};

void SignInRun::Run()
{
    LogInfo("GetSerialization: enter user='%ls' otherUser=%d",
            tile_.UserName().empty() ? L"(none-typed)" : tile_.UserName().c_str(),
            tile_.IsOtherUser());
    WarnWithoutDomainController();
    if (!AccountIsServed() || !DomainSignInIsEnabled()) {
        return;
    }
    const bool gateOn = IsFidoGateOn();
    std::wstring preArmedUpn;
    if (!gateOn && !EnsureCardIsProvisioned(tile_, pin_, preArmedUpn)) {
        return;
    }
    if (gateOn && tile_.IsOtherUser() && !TapBeforeBuild()) {
        return;
    }
    if (BuildCredential(preArmedUpn) && AccountMatches()) {
        HandOver();
    } else {
        outcome_.credential = LogonHandover();
    }
}

void SignInRun::WarnWithoutDomainController() const
{
    const DirectoryAnswer directory = tile_.Directory();
    if (directory.known && !directory.domainControllerFound) {
        LogWarn(
            "GetSerialization: starting a sign-in although no domain controller could be located %lu ms ago (%ls) - expect LSA to refuse.",
            directory.ageMs,
            directory.reason.empty() ? L"no reason given" : directory.reason.c_str());
    }
}

bool SignInRun::AccountIsServed() const
{
    if (tile_.IsOtherUser() || tile_.IsAccountServed()) {
        return true;
    }
    tile_.SetStatus(
        L"This account type is not supported by security-key domain sign-in. It works for Active Directory domain accounts; local Windows accounts use their own security-key tile, and Microsoft / Entra ID (Azure AD) accounts are not supported.",
        CPSI_ERROR);
    return false;
}

bool SignInRun::DomainSignInIsEnabled() const
{
    if (!ReadSettingFlag(kEnabledValue)) {
        LogError("GetSerialization: SmartCard\\Enabled=0 - the VSC domain path is switched off.");
        tile_.SetStatus(L"Domain sign-in is not enabled on this PC.", CPSI_ERROR);
        return false;
    }
    tile_.SetStatus(kSigningInWithKeyText, CPSI_NONE);
    return true;
}

bool SignInRun::TapBeforeBuild()
{
    tap_ = tile_.TakeChosenTap();
    if (!tap_) {
        return TapKey();
    }
    pickerUsed_ = true;
    LogInfo("GetSerialization: submitting account row %zu from the earlier tap (no second touch).",
            tap_->chosenIndex);
    return true;
}

bool SignInRun::TapKey()
{
    tile_.SetStatus(kTouchKeyText, CPSI_NONE);
    PendingTap tap;
    std::wstring reason;
    const HRESULT hr = FidoPinBegin(tap, reason, pin_);
    if (FAILED(hr)) {
        LogError("GetSerialization: the tap failed hr=0x%08X (%ls)", hr, reason);
        tile_.SetStatus(reason.empty() ? L"Security-key sign-in failed; tap the key and try again."
                                       : reason.c_str(),
                        CPSI_ERROR);
        tile_.ClearPin();
        tile_.UpdateFieldVisibility(true);
        return false;
    }
    if (tap.statements.size() > 1) {
        tile_.OfferAccounts(std::move(tap));
        tile_.SetStatus(
            L"This security key is set up for more than one account. Choose which one to sign in as, then click Sign In.",
            CPSI_NONE);
        return false;
    }
    tap_ = std::move(tap);
    return true;
}

bool SignInRun::BuildCredential(const std::wstring& preArmedUpn)
{
    tile_.SetStatus(tap_ ? kSigningInText : kTouchKeyText, CPSI_NONE);
    const std::wstring& name = tile_.UserName();
    const std::size_t backslash = name.find(L'\\');
    const bool qualified = backslash != std::wstring::npos;
    LogonRequest request{
        .tileDomain = qualified ? name.substr(0, backslash) : std::wstring(),
        .tileUser = qualified ? name.substr(backslash + 1) : name,
        .preArmedUpn = preArmedUpn,
        .authPin = pin_,
        .pendingTap = tap_ ? &*tap_ : nullptr,
        .progress = [&tile = tile_] { tile.SetStatus(kSigningInText, CPSI_NONE); }};
    std::wstring reason;
    const HRESULT hr = BuildCertificateLogon(request, outcome_.credential, reason, resolvedUpn_);
    if (tap_) {
        ScrubPendingTap(*tap_);
    }
    if (pickerUsed_) {
        tile_.HidePicker();  // the tap it showed was sent and is gone
    }
    if (FAILED(hr)) {
        LogError("GetSerialization: BuildCertificateLogon failed hr=0x%08X (%ls)", hr, reason);
        tile_.SetStatus(WithReason(L"Sign-in failed: ", reason).c_str(), CPSI_ERROR);
        return false;
    }
    return true;
}

bool SignInRun::AccountMatches() const
{
    if (tile_.IsOtherUser()) {
        return true;
    }
    const std::wstring& user = tile_.UserName();
    LogInfo("GetSerialization: server resolved the tapped key to '%ls'.", resolvedUpn_);
    const DirectoryAnswer directory = tile_.Directory();
    if (!directory.known) {
        LogInfo(
            "GetSerialization: the directory has not answered yet - comparing the tile by leaf name instead of waiting for it.");
    }
    const wchar_t* shownUser = user.empty() ? L"(none)" : user.c_str();
    switch (MatchAccounts(user, resolvedUpn_, directory.upn)) {
        case AccountMatch::kSame:
            return true;
        case AccountMatch::kUndecidable:
            LogWarn("GetSerialization: could not compare tile '%ls' to resolved '%ls' - allowing.",
                    shownUser, resolvedUpn_);
            return true;
        case AccountMatch::kDifferent:
            break;
    }
    LogError("GetSerialization: tile is '%ls' but the tapped key resolved to '%ls' - refusing.",
             shownUser, resolvedUpn_);
    tile_.SetStatus(
        L"That security key is enrolled to a different account. Use the \"Other user\" tile, or the tile for the account the key belongs to.",
        CPSI_ERROR);
    tile_.ClearPin();
    return false;
}

void SignInRun::HandOver()
{
    outcome_.response = CPGSR_RETURN_CREDENTIAL_FINISHED;
    tile_.Slot().SetHandoverTick(GetTickCount());
    LogInfo(
        "GetSerialization: returning KERB_CERTIFICATE_LOGON (%lu bytes) -> Kerberos AP %lu (primary TGT, no injection)",
        outcome_.credential.SizeBytes(), outcome_.credential.Package());
    tile_.SetStatus(kSigningInText, CPSI_NONE);
}

}  // namespace

void RunSignIn(SignInTile& tile, SignInOutcome& outcome) noexcept
{
    outcome = SignInOutcome();
    tile.Slot().SetHandoverTick(0);
    outcome.result = Guarded([&] {
        SignInRun(tile, outcome).Run();
        return S_OK;
    });
    if (FAILED(outcome.result)) {  // an allocation failed; nothing else throws
        outcome.response = CPGSR_NO_CREDENTIAL_NOT_FINISHED;
        outcome.credential = LogonHandover();
        tile.SetStatus(L"Sign-in failed: this PC is low on memory — restart it and try again",
                       CPSI_ERROR);
    }
}

}  // namespace kelvor
