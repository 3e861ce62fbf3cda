#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

// LogonUI waits meanwhile.
constexpr DWORD kDisarmTimeoutMs = 3000;

}  // namespace

void DisarmCard()
{
    SecretText request = RequestWriter("disarm").Finish();
    std::string answer;
    std::wstring reason;
    if (FAILED(CardServiceTransact(request, answer, kDisarmTimeoutMs, reason))) {
        LogWarn(
            "softcardctl: disarm did not reach the card service (%ls) - the sign gate will close "
            "on its own idle timeout instead.",
            reason);
        return;
    }
    if (ReadOk(answer) != Verdict::kYes) {
        reason = RefusalReason(answer, L"the card service refused to disarm");
        LogWarn(
            "softcardctl: disarm refused (%ls) - an out-of-date service? The sign gate will close "
            "on its own timeout.",
            reason);
        return;
    }
    LogInfo("softcardctl: disarm ok - the card can no longer sign (gate was %ls).",
            ReadFlag(answer, "wasArmed") ? L"open" : L"already closed");
}

}  // namespace kelvor
