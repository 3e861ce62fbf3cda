#include "fido/account_filter.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "cardsvc/base64.h"
#include "cardsvc/commands.h"
#include "diag/log.h"

namespace kelvor {
namespace {

struct RefusalText {
    std::wstring_view status;  // the server's code
    const wchar_t* text;
};

// The most telling refusal first: it is the one that the user can do something about.
constexpr RefusalText kRefusals[] = {
    {L"NoHmacSecret",
     L"this security key's passkey was not registered for Windows sign-in - register it again with "
     L"PRF/hmac-secret enabled"},
    {L"UnsupportedKeyAlgorithm",
     L"this security key's passkey does not use the algorithm Windows sign-in requires - register "
     L"it again for logon"},
    {L"NoActiveDirectoryDomain",
     L"this security key is not linked to a domain account - ask your administrator to link it"},
    {L"AmbiguousCredential",
     L"this security key is registered to more than one account on the server - ask your "
     L"administrator to resolve it"},
    {L"UnknownCredential",
     L"this security key is not registered on this sign-in server (or it has been revoked)"},
};
constexpr const wchar_t* kOtherRefusal = L"this security key cannot sign in on this PC";

// Where a status stands in the table; a code that is not in it comes last.
std::size_t Rank(const std::wstring& status)
{
    const auto* const known = std::ranges::find(kRefusals, status, &RefusalText::status);
    return static_cast<std::size_t>(known - std::begin(kRefusals));
}

const wchar_t* TextOf(const std::wstring& status)
{
    const std::size_t rank = Rank(status);
    return rank < std::size(kRefusals) ? kRefusals[rank].text : kOtherRefusal;
}

std::vector<std::string> EncodeIds(const std::vector<KeyStatement>& statements)
{
    std::vector<std::string> ids;
    ids.reserve(statements.size());
    for (const KeyStatement& statement : statements) {
        ids.emplace_back(Base64Encode(statement.credentialId).View());
    }
    return ids;
}

// One verdict for each id, in the order of the ids: the first that names it. Fewer when the
// answer passes over one.
std::vector<const AccountVerdict*> MatchVerdicts(const std::vector<std::string>& ids,
                                                 const std::vector<AccountVerdict>& verdicts)
{
    std::unordered_map<std::string_view, const AccountVerdict*> byId;
    for (const AccountVerdict& verdict : verdicts) {
        byId.emplace(verdict.credentialId, &verdict);
    }
    std::vector<const AccountVerdict*> matched;
    for (const std::string& id : ids) {
        const auto verdict = byId.find(id);
        if (verdict != byId.end()) {
            matched.push_back(verdict->second);
        }
    }
    return matched;
}

// The verdict whose status tells the user most, the earliest of equals.
const AccountVerdict& MostTelling(const std::vector<const AccountVerdict*>& refused)
{
    return **std::ranges::min_element(
        refused, {}, [](const AccountVerdict* verdict) { return Rank(verdict->status); });
}

// Keeps the eligible statements; a complete verdict is given.
HRESULT ApplyVerdicts(const std::vector<const AccountVerdict*>& verdicts,
                      std::vector<KeyStatement>& statements, std::wstring& reason)
{
    std::vector<KeyStatement> kept;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        if (verdicts[i]->eligible) {
            kept.push_back(std::move(statements[i]));
        }
    }
    const std::size_t asked = statements.size();
    statements = std::move(kept);
    if (statements.empty()) {
        const std::wstring& status = MostTelling(verdicts).status;
        reason = TextOf(status);
        LogWarn(
            "fidopin(begin): none of this key's %zu credential(s) can sign in here - reporting "
            "'%ls'.",
            asked, status);
        return E_ACCESSDENIED;
    }
    if (statements.size() < asked) {
        LogInfo(
            "fidopin(begin): %zu of this key's %zu account(s) can sign in here - offering only "
            "those.",
            statements.size(), asked);
    }
    return S_OK;
}

}  // namespace

HRESULT FilterAccounts(const std::wstring& serverUrl, bool insecureTls,
                       std::vector<KeyStatement>& statements, std::wstring& reason)
{
    if (statements.empty()) {
        return S_OK;
    }
    const std::vector<std::string> ids = EncodeIds(statements);
    std::vector<AccountVerdict> answered;
    std::wstring failure;
    if (FAILED(RequestVerdicts(serverUrl, insecureTls, ids, answered, failure))) {
        LogWarn(
            "fidopin(begin): could not check which of this key's %zu account(s) can sign in here "
            "(%ls) - offering all of them.",
            statements.size(), failure);
        return S_OK;
    }
    const std::vector<const AccountVerdict*> verdicts = MatchVerdicts(ids, answered);
    if (verdicts.size() < statements.size()) {
        LogWarn(
            "fidopin(begin): the server's verdict did not cover every credential on this key - "
            "offering all %zu account(s) rather than guessing.",
            statements.size());
        return S_OK;
    }
    return ApplyVerdicts(verdicts, statements, reason);
}

}  // namespace kelvor
