#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

constexpr DWORD kChallengeTimeoutMs = 30000;

HRESULT ReadChallenge(const std::string& answer, Challenge& challenge, std::wstring& reason)
{
    if (ReadOk(answer) != Verdict::kYes) {
        reason = RefusalReason(answer, L"the enrollment server did not issue a challenge");
        LogWarn("softcardctl: provchallenge refused (%ls)", reason);
        return E_ACCESSDENIED;
    }
    if (!ReadText(answer, "nonce", challenge.nonce)) {
        reason = L"the enrollment server returned no challenge nonce";
        return E_FAIL;
    }
    if (!ReadText(answer, "cdh", challenge.cdh)) {
        LogError(
            "softcardctl: provchallenge returned no 'cdh' - the service predates CSR binding.");
        reason = L"the sign-in service on this PC is out of date — contact IT to update it";
        return E_FAIL;
    }
    challenge.rpId = ReadWideText(answer, "rpId");
    LogInfo(
        "softcardctl: enrollment challenge relayed (rpId='%ls'); the tap signs the bound "
        "challenge, not the nonce.",
        challenge.rpId);
    return S_OK;
}

}  // namespace

HRESULT RequestChallenge(const SignInServer& server, Challenge& challenge, std::wstring& reason)
{
    challenge = {};
    RequestWriter writer("provchallenge");
    writer.AddText("server", server.url);
    writer.AddText("rp", server.rpId);
    writer.AddFlag("insecureTls", server.insecureTls);
    SecretText request = writer.Finish();
    std::string answer;
    const HRESULT hr = CardServiceTransact(request, answer, kChallengeTimeoutMs, reason);
    return FAILED(hr) ? hr : ReadChallenge(answer, challenge, reason);
}

}  // namespace kelvor
