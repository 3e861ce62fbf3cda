#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"
#include "guarded.h"

namespace kelvor {
namespace {

// LogonUI waits meanwhile.
constexpr DWORD kDisarmTimeoutMs = 3000;

void LogMissed(const wchar_t* reason) noexcept
{
    LogWarn(
        "softcardctl: disarm did not reach the card service (%ls) - the sign gate will close "
        "on its own idle timeout instead.",
        reason);
}

HRESULT Disarm()
{
    SecretText request = RequestWriter("disarm").Finish();
    std::string answer;
    std::wstring reason;
    if (FAILED(CardServiceTransact(request, answer, kDisarmTimeoutMs, reason))) {
        LogMissed(reason.c_str());
        return S_OK;
    }
    if (ReadOk(answer) != Verdict::kYes) {
        reason = RefusalReason(answer, L"the card service refused to disarm");
        LogWarn(
            "softcardctl: disarm refused (%ls) - an out-of-date service? The sign gate will close "
            "on its own timeout.",
            reason);
        return S_OK;
    }
    LogInfo("softcardctl: disarm ok - the card can no longer sign (gate was %ls).",
            ReadFlag(answer, "wasArmed") ? L"open" : L"already closed");
    return S_OK;
}

}  // namespace

void DisarmCard() noexcept
{
    if (FAILED(Guarded(&Disarm))) {
        LogMissed(L"this PC is low on memory");
    }
}

}  // namespace kelvor
