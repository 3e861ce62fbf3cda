#include <utility>

#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

// The service asks the server and may have to load or set up a card.
constexpr DWORD kArmTimeoutMs = 120000;

SecretText WriteRequest(const ArmRequest& request)
{
    RequestWriter writer("armorprovision");
    writer.AddText("server", request.server.url);
    writer.AddText("rp", request.server.rpId);
    writer.AddFlag("insecureTls", request.server.insecureTls);
    writer.AddText("nonce", request.nonce);
    writer.AddText("cdh", request.cdh);
    writer.AddText("credId", request.credId);
    writer.AddText("authData", request.authData);
    writer.AddText("signature", request.signature);
    writer.AddText("authValue", request.authValue.View());
    return writer.Finish();
}

HRESULT ReadArmed(const std::string& answer, ArmAnswer& armed, std::wstring& reason)
{
    std::wstring upn = ReadWideText(answer, "upn");
    if (upn.empty()) {
        LogError("softcardctl: the card service armed a card but named no account.");
        reason = L"the card service did not say which account it signed in";
        return E_FAIL;
    }
    armed.upn = std::move(upn);
    armed.cardSwapped = ReadFlag(answer, "cardSwapped");
    armed.didProvision = ReadFlag(answer, "didProvision");
    LogInfo("softcardctl: card ARMED (upn='%ls', cardSwapped=%d, didProvision=%d).", armed.upn,
            armed.cardSwapped, armed.didProvision);
    return S_OK;
}

}  // namespace

HRESULT ArmOrProvision(const ArmRequest& request, ArmAnswer& answer, std::wstring& reason)
{
    answer = {};
    SecretText line = WriteRequest(request);
    std::string answerLine;
    const HRESULT hr = CardServiceTransact(line, answerLine, kArmTimeoutMs, reason);
    if (FAILED(hr)) {
        return hr;
    }
    switch (ReadOk(answerLine)) {
        case Verdict::kYes:
            return ReadArmed(answerLine, answer, reason);
        case Verdict::kNo:
            reason = RefusalReason(answerLine, L"the security key was not authorized");
            LogWarn("softcardctl: arm refused (%ls)", reason);
            return E_ACCESSDENIED;
        case Verdict::kUnclear:
            break;
    }
    reason = L"the card service gave an invalid answer while signing you in — try again";
    return E_FAIL;
}

}  // namespace kelvor
