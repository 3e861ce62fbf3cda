#include <algorithm>
#include <utility>

#include "cardsvc/answer_reader.h"
#include "cardsvc/commands.h"
#include "cardsvc/json_codec.h"
#include "cardsvc/pipe_transport.h"
#include "cardsvc/request_writer.h"
#include "diag/log.h"

namespace kelvor {
namespace {

constexpr DWORD kVerdictTimeoutMs = 30000;

bool ReadVerdict(std::string_view row, AccountVerdict& verdict)
{
    const auto [credentialId, eligible, status] =
        JsonFindKeys<3>(row, {"credId", "eligible", "status"});
    if (!ReadText(row, credentialId, verdict.credentialId) ||
        !JsonReadBool(row, eligible, verdict.eligible)) {
        return false;
    }
    verdict.status = ReadWideText(row, status);
    return !verdict.status.empty();
}

// Reads all rows or none.
bool ReadVerdicts(const std::vector<std::string_view>& rows, std::vector<AccountVerdict>& verdicts)
{
    std::vector<AccountVerdict> read(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!ReadVerdict(rows[i], read[i])) {
            return false;
        }
    }
    verdicts = std::move(read);
    return true;
}

HRESULT JudgeAnswer(const std::string& answer, std::size_t asked,
                    std::vector<AccountVerdict>& verdicts, std::wstring& reason)
{
    if (ReadOk(answer) != Verdict::kYes) {
        reason = RefusalReason(answer, L"the accounts on this key could not be checked");
        LogWarn("softcardctl: filteraccounts declined (%ls)", reason);
        return E_ACCESSDENIED;
    }
    std::vector<std::string_view> rows;
    rows.reserve(asked);
    if (!JsonReadResults(answer, rows)) {
        LogError("softcardctl: filteraccounts reported success but carried no results array.");
        reason =
            L"the card service gave an invalid answer while checking this key's accounts — try "
            L"again";
        return E_FAIL;
    }
    if (rows.size() != asked) {
        LogError(
            "softcardctl: filteraccounts answered for %zu of %zu credential(s) - discarding the "
            "whole verdict.",
            rows.size(), asked);
        reason = L"the accounts on this key were only partly checked";
        return E_FAIL;
    }
    if (!ReadVerdicts(rows, verdicts)) {
        LogError("softcardctl: filteraccounts returned a row with no credId/eligible/status.");
        reason =
            L"the card service gave an incomplete answer while checking this key's accounts — try "
            L"again";
        return E_FAIL;
    }
    const auto eligible =
        static_cast<std::size_t>(std::ranges::count(verdicts, true, &AccountVerdict::eligible));
    LogInfo("softcardctl: %zu of %zu credential(s) on this key can sign in here.", eligible,
            verdicts.size());
    return S_OK;
}

}  // namespace

HRESULT RequestVerdicts(const std::wstring& serverUrl, bool insecureTls,
                        const std::vector<std::string>& credentialIds,
                        std::vector<AccountVerdict>& verdicts, std::wstring& reason)
{
    verdicts.clear();
    if (serverUrl.empty()) {
        LogInfo("softcardctl: no server configured - accounts cannot be filtered.");
        reason = L"no sign-in server is configured";
        return E_FAIL;
    }
    if (credentialIds.empty()) {
        reason = L"no credentials to check";
        return E_INVALIDARG;
    }
    RequestWriter writer("filteraccounts");
    writer.AddText("server", serverUrl);
    writer.AddFlag("insecureTls", insecureTls);
    writer.AddTexts("credIds", credentialIds);
    SecretText request = writer.Finish();
    std::string answer;
    const HRESULT hr = CardServiceTransact(request, answer, kVerdictTimeoutMs, reason);
    return FAILED(hr) ? hr : JudgeAnswer(answer, credentialIds.size(), verdicts, reason);
}

}  // namespace kelvor
