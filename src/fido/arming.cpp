#include "fido/arming.h"

#include <utility>

#include "cardsvc/base64.h"
#include "cardsvc/commands.h"
#include "diag/log.h"
#include "fido/account_names.h"
#include "fido/assertion.h"

namespace kelvor {
namespace {

// A tap is sent at most once: whichever way the sending ends, nothing usable stays in it.
class SpentOnLeaving {
 public:
    explicit SpentOnLeaving(PendingTap& tap) noexcept : tap_(tap) {}
    ~SpentOnLeaving() { ScrubPendingTap(tap_); }
    SpentOnLeaving(const SpentOnLeaving&) = delete;
    SpentOnLeaving& operator=(const SpentOnLeaving&) = delete;

 private:
    PendingTap& tap_;
};

void ResetOutcome(ArmOutcome* outcome)
{
    if (outcome != nullptr) {
        *outcome = {};
    }
}

// Decides which of the tap's accounts is armed. Several accounts and none of them the tile's is
// refused here; where the names cannot tell, the check of the armed account against the card rules.
HRESULT ChooseStatement(const PendingTap& tap, const std::wstring& tileUser, std::size_t& index,
                        std::wstring& reason)
{
    index = 0;
    const std::size_t count = tap.statements.size();
    if (count <= 1) {
        return S_OK;
    }
    switch (MatchTileAccount(tap.statements, tileUser, index)) {
        case TileMatch::kOne:
            LogInfo(
                "fidopin(arm): this key holds %zu accounts that can sign in here; using the one "
                "this tile names.",
                count);
            break;
        case TileMatch::kNone:
            LogError(
                "fidopin(arm): this key holds %zu accounts that can sign in here and none of them "
                "is the one this tile names - refusing before anything is armed.",
                count);
            reason =
                L"that security key is enrolled to a different account — use the \"Other user\" "
                L"tile, or the tile for the account the key belongs to";
            return HRESULT_FROM_WIN32(ERROR_BAD_USERNAME);
        case TileMatch::kCannotTell:
            LogWarn(
                "fidopin(arm): this key holds %zu accounts that can sign in here and nothing here "
                "can tell which one the tile means; submitting the first and letting the "
                "resolved-UPN check rule on it. The \"Other user\" tile offers a choice.",
                count);
            break;
    }
    return S_OK;
}

// Sends one statement to the card service; the encoded secret lives no longer than this call.
HRESULT SubmitStatement(const PendingTap& tap, const KeyStatement& statement, ArmAnswer& answer,
                        std::wstring& reason)
{
    const SignInServer server{tap.serverUrl, tap.rpId, tap.insecureTls};
    const SecretBytes& hmac = statement.hmacSecret;
    const SecretText authValue = Base64Encode({hmac.Data(), hmac.Size()});
    const SecretText signature = Base64Encode(statement.signature);
    const SecretText authData = Base64Encode(statement.authenticatorData);
    const SecretText credId = Base64Encode(statement.credentialId);
    const ArmRequest request{server,          tap.nonce,        tap.cdh,  credId.View(),
                             authData.View(), signature.View(), authValue};
    return ArmOrProvision(request, answer, reason);
}

// Sends the chosen statement; the tap is spent by this.
HRESULT SpendTap(PendingTap& tap, std::size_t index, ArmOutcome& armed, std::wstring& reason)
{
    const SpentOnLeaving spent(tap);
    KeyStatement& statement = tap.statements[index];
    ArmAnswer answer;
    const HRESULT hr = SubmitStatement(tap, statement, answer, reason);
    if (SUCCEEDED(hr)) {
        armed = {std::move(answer.upn), answer.cardSwapped, answer.didProvision,
                 std::move(statement.credentialId)};
    }
    return hr;
}

}  // namespace

HRESULT FidoPinArm(std::wstring& reason, const SecretText& pin, ArmOutcome* outcome,
                   const std::wstring& tileUser, const std::function<void()>& progress)
{
    reason.clear();
    ResetOutcome(outcome);
    PendingTap tap;
    const SpentOnLeaving spent(tap);
    HRESULT hr = FidoPinBegin(tap, reason, pin);
    if (FAILED(hr)) {
        return hr;
    }
    std::size_t index = 0;
    hr = ChooseStatement(tap, tileUser, index, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (progress) {
        progress();
    }
    return FidoPinComplete(tap, index, outcome, reason);
}

HRESULT FidoPinComplete(PendingTap& tap, std::size_t index, ArmOutcome* outcome,
                        std::wstring& reason)
{
    reason.clear();
    ResetOutcome(outcome);
    if (!tap.valid || index >= tap.statements.size()) {
        LogError("fidopin(complete): no assertion to submit (valid=%d index=%zu of %zu).",
                 tap.valid, index, tap.statements.size());
        reason = L"the sign-in attempt expired — tap your security key again";
        ScrubPendingTap(tap);
        return E_FAIL;
    }
    ArmOutcome armed;
    const HRESULT hr = SpendTap(tap, index, armed, reason);
    if (FAILED(hr)) {
        LogError("fidopin(complete): the sign-in was refused (%ls)", reason);
        return hr;
    }
    LogInfo(
        "fidopin(complete): card armed by live FIDO assertion (upn='%ls', cardSwapped=%d, "
        "didProvision=%d).",
        armed.upn, armed.cardSwapped, armed.didProvision);
    if (outcome != nullptr) {
        *outcome = std::move(armed);
    }
    return S_OK;
}

}  // namespace kelvor
