#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/json_codec.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

constexpr DWORD kStatusTimeoutMs = 10000;

}  // namespace

HRESULT QueryStatus(ServiceStatus& status, std::wstring& reason)
{
    status = {};
    SecretText request = RequestWriter("status").Finish();
    std::string answer;
    const HRESULT hr = CardServiceTransact(request, answer, kStatusTimeoutMs, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (ReadOk(answer) != Verdict::kYes) {
        reason = RefusalReason(answer, L"the card service could not report its state");
        LogWarn("softcardctl: status refused (%ls)", reason);
        return E_ACCESSDENIED;
    }
    if (!JsonReadBool(answer, "provisioned", status.provisioned)) {
        LogError(
            "softcardctl: status answered without 'provisioned' - the service is out of date.");
        reason = L"the sign-in service on this PC is out of date — contact IT to update it";
        return E_FAIL;
    }
    status.cardHidden = ReadFlag(answer, "cardHidden");
    LogInfo("softcardctl: status - provisioned=%d cardHidden=%d.", status.provisioned,
            status.cardHidden);
    return S_OK;
}

}  // namespace kelvor
