#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

// The user's touch and the setting up of a card are within it.
constexpr DWORD kProvisionTimeoutMs = 120000;

SecretText WriteRequest(const SignInServer& server, const SecretText& authPin)
{
    RequestWriter writer("provision");
    writer.AddText("server", server.url);
    writer.AddText("rp", server.rpId);
    if (!authPin.Empty()) {
        writer.AddText("authPin", authPin.View());
    }
    writer.AddFlag("insecureTls", false);
    return writer.Finish();
}

HRESULT ReadProvisioned(const std::string& answer, std::wstring& upn, std::wstring& reason)
{
    upn = ReadWideText(answer, "upn");
    if (upn.empty()) {
        LogError("softcardctl: provisioning reported success but named no account.");
        reason = L"the card service did not say which account it set up";
        return E_FAIL;
    }
    LogInfo("softcardctl: card provisioned and FIDO-armed for '%ls' (armed from that tap).", upn);
    return S_OK;
}

}  // namespace

HRESULT ProvisionCard(const SignInServer& server, const SecretText& authPin, std::wstring& upn,
                      std::wstring& reason)
{
    upn.clear();
    SecretText request = WriteRequest(server, authPin);
    std::string answer;
    const HRESULT hr = CardServiceTransact(request, answer, kProvisionTimeoutMs, reason);
    if (FAILED(hr)) {
        return hr;
    }
    switch (ReadOk(answer)) {
        case Verdict::kYes:
            return ReadProvisioned(answer, upn, reason);
        case Verdict::kNo:
            reason = RefusalReason(answer, L"provisioning failed");
            LogWarn("softcardctl: provisioning refused (%ls)", reason);
            return E_ACCESSDENIED;
        case Verdict::kUnclear:
            break;
    }
    LogError("softcardctl: malformed provisioning response");
    reason = L"the card service gave an invalid answer while setting up this PC — try again";
    return E_FAIL;
}

}  // namespace kelvor
