#include "fido/assertion.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cardsvc/base64.h"
#include "cardsvc/commands.h"
#include "cardsvc/utf_text.h"
#include "diag/log.h"
#include "fido/account_filter.h"
#include "fido/hex_text.h"
#include "fido/hmac_fingerprint.h"
#include "fido/key_answer.h"
#include "fido/key_error_text.h"
#include "settings/settings.h"

namespace kelvor {
namespace {

constexpr std::size_t kChallengeBytes = 32;

// No key has room for so many passkeys. A library that claims more, or any number at all, would
// keep the sign-in asking for one after the other.
constexpr std::size_t kMostStatements = 1024;

// The user-verification bit of the authenticator data's flags (Web Authentication, section 6.1).
constexpr unsigned char kUserVerifiedFlag = 0x04;

HRESULT ReadSignInServer(SignInServer& server, std::wstring& reason)
{
    const SettingsKey key = OpenSettingsKey();
    if (!key) {
        reason = L"this PC is not set up for security-key sign-in — contact IT";
        return E_FAIL;
    }
    server.rpId = ReadKeyString(key.Get(), kFidoRpIdValue);
    server.url = ReadKeyString(key.Get(), kFidoServerUrlValue);
    server.insecureTls = ReadKeyFlag(key.Get(), kFidoDevInsecureTlsValue);
    if (server.rpId.empty()) {
        LogWarn("fidopin(begin): FidoRpId is empty - relying on the service's default rpId.");
    }
    return S_OK;
}

HRESULT FetchChallenge(const SignInServer& server, Challenge& challenge, std::wstring& reason)
{
    const HRESULT hr = RequestChallenge(server, challenge, reason);
    if (FAILED(hr)) {
        LogError("fidopin(begin): challenge failed (%ls)", reason);
    }
    return hr;
}

// The nonce is for the service; here it is only held to its form. The key signs the hash.
HRESULT DecodeChallenge(const Challenge& challenge, std::vector<unsigned char>& clientDataHash,
                        std::wstring& reason)
{
    std::vector<unsigned char> nonce;
    if (!Base64Decode(challenge.nonce, nonce) || nonce.size() != kChallengeBytes) {
        LogError("fidopin(begin): challenge returned no usable 32-byte nonce");
        reason = L"the card service returned an invalid sign-in challenge — try again";
        return E_FAIL;
    }
    if (!Base64Decode(challenge.cdh, clientDataHash) || clientDataHash.size() != kChallengeBytes) {
        LogError("fidopin(begin): the challenge hash is unusable (%zu bytes, need %zu)",
                 clientDataHash.size(), kChallengeBytes);
        reason = L"the card service returned an invalid challenge hash — try again";
        return E_FAIL;
    }
    return S_OK;
}

// Without the user's verification the key derives another secret, which opens no card.
HRESULT CheckUserVerified(const KeyAnswer& answer, std::wstring& reason)
{
    unsigned char flags = 0;
    if (answer.ReadFlags(flags) && (flags & kUserVerifiedFlag) != 0) {
        return S_OK;
    }
    LogError(
        "fidopin(begin): the key answered WITHOUT user verification (authdata flags=0x%02X) - its "
        "hmac-secret cannot open this PC's card. Asking for the key's PIN.",
        flags);
    reason = KeyErrorText(kKeyErrorPinRequired);
    return E_ACCESSDENIED;
}

// A statement that cannot be read is left out; the others serve.
std::vector<KeyStatement> ReadStatements(const KeyAnswer& answer)
{
    if (answer.Count() > kMostStatements) {
        LogWarn("fidopin(begin): the key claims %zu credential(s) - reading the first %zu.",
                answer.Count(), kMostStatements);
    }
    std::vector<KeyStatement> statements;
    for (std::size_t i = 0; i < std::min(answer.Count(), kMostStatements); ++i) {
        KeyStatement statement;
        const int code = answer.ReadStatement(i, statement);
        if (code != 0) {
            LogWarn("fidopin(begin): statement %zu unusable rc=%d (%s) - skipping it.", i, code,
                    KeyLibraryText(code));
            continue;
        }
        LogInfo("fidopin(begin): statement %zu cred=%s hmac-fp=%s", i,
                HexText(statement.credentialId),
                HmacFingerprint({statement.hmacSecret.Data(), statement.hmacSecret.Size()}));
        statements.push_back(std::move(statement));
    }
    return statements;
}

// One touch of the key.
HRESULT TapKey(const std::wstring& rpId, const std::vector<unsigned char>& clientDataHash,
               const SecretText& pin, std::vector<KeyStatement>& statements, std::size_t& answered,
               std::wstring& reason)
{
    KeyAnswer answer;
    const int code = answer.Begin(Utf16ToUtf8(rpId), clientDataHash, pin);
    if (code != 0) {
        LogError("fidopin(begin): prov_assert_hmac_begin rc=%d (%s)", code, KeyLibraryText(code));
        reason = KeyErrorText(code);
        return E_ACCESSDENIED;
    }
    const HRESULT hr = CheckUserVerified(answer, reason);
    if (SUCCEEDED(hr)) {
        statements = ReadStatements(answer);
        answered = answer.Count();
    }
    return hr;
}

HRESULT CollectAccounts(const std::wstring& rpId, const std::vector<unsigned char>& clientDataHash,
                        const SecretText& pin, std::vector<KeyStatement>& statements,
                        std::wstring& reason)
{
    std::size_t answered = 0;
    const HRESULT hr = TapKey(rpId, clientDataHash, pin, statements, answered, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (statements.empty()) {
        LogError("fidopin(begin): the key answered with %zu credential(s), none usable.", answered);
        reason =
            L"this security key has no sign-in credential for this PC — it may need to be enrolled "
            L"again";
        return E_ACCESSDENIED;
    }
    LogInfo("fidopin(begin): one tap yielded %zu usable account(s) on this key.",
            statements.size());
    return S_OK;
}

}  // namespace

HRESULT FidoPinBegin(PendingTap& tap, std::wstring& reason, const SecretText& pin)
{
    ScrubPendingTap(tap);
    reason.clear();
    SignInServer server;
    HRESULT hr = ReadSignInServer(server, reason);
    if (FAILED(hr)) {
        return hr;
    }
    Challenge challenge;
    hr = FetchChallenge(server, challenge, reason);
    if (FAILED(hr)) {
        return hr;
    }
    if (!challenge.rpId.empty()) {
        server.rpId = challenge.rpId;
    }
    std::vector<unsigned char> clientDataHash;
    hr = DecodeChallenge(challenge, clientDataHash, reason);
    if (FAILED(hr)) {
        return hr;
    }
    std::vector<KeyStatement> statements;
    hr = CollectAccounts(server.rpId, clientDataHash, pin, statements, reason);
    if (FAILED(hr)) {
        return hr;
    }
    hr = FilterAccounts(server.url, server.insecureTls, statements, reason);
    if (FAILED(hr)) {
        return hr;
    }
    tap.serverUrl = std::move(server.url);
    tap.rpId = std::move(server.rpId);
    tap.insecureTls = server.insecureTls;
    tap.nonce = std::move(challenge.nonce);
    tap.cdh = std::move(challenge.cdh);
    tap.statements = std::move(statements);
    tap.valid = true;
    return S_OK;
}

}  // namespace kelvor
