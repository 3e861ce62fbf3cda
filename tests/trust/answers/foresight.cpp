#include "trust/answers/foresight.h"

#include <wincrypt.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "trust/answers/slow_json.h"

namespace kelvor::trust {
namespace {

constexpr std::size_t kAnswerLimitBytes = 65'536;
constexpr std::size_t kChallengeBytes = 32;
constexpr std::uint64_t kSettleMs = 2'000;
constexpr HRESULT kWrongUser = static_cast<HRESULT>(0x8007089A);
constexpr const wchar_t* kCardsAccount = L"alice@corp.example";
constexpr std::uint64_t kBusyStepMs = 250;
constexpr std::size_t kBusySteps = 40;

struct Verdict {
    const wchar_t* code;
    const wchar_t* text;
};
// The most telling first.
constexpr Verdict kVerdicts[] = {
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
    {nullptr, L"this security key cannot sign in on this PC"},
};

std::wstring Wide(const std::string& utf8)
{
    if (utf8.empty()) {
        return {};
    }
    const int bytes = static_cast<int>(utf8.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), units);
    return wide;
}

std::string Narrow(const std::wstring& wide)
{
    if (wide.empty()) {
        return {};
    }
    const int units = static_cast<int>(wide.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, narrow.data(), bytes, nullptr, nullptr);
    return narrow;
}

bool SameAccount(const std::wstring& one, const std::wstring& other)
{
    return CompareStringOrdinal(one.data(), static_cast<int>(one.size()), other.data(),
                                static_cast<int>(other.size()), TRUE) == CSTR_EQUAL;
}

// What comes of one request: a line, or the reason why there is none.
struct Heard {
    std::optional<std::string> line;
    HRESULT hr = S_OK;
    const wchar_t* reason = L"";
    std::uint64_t passedMs = 0;
};

Heard Hear(const CardAnswer& answer)
{
    Heard heard;
    heard.passedMs = std::min(answer.busyTimes, kBusySteps) * kBusyStepMs;
    if (answer.busyTimes > kBusySteps) {
        heard.hr = HRESULT_FROM_WIN32(ERROR_PIPE_BUSY);
        heard.reason = L"the card service is busy; try again";
        return heard;
    }
    for (const Pause& pause : answer.pauses) {
        heard.passedMs += pause.ms;
    }
    const std::size_t size = answer.bytes.find('\n');
    if (size != std::string::npos && size != 0 && size < kAnswerLimitBytes) {
        heard.line = answer.bytes.substr(0, size);
    } else {
        heard.hr = E_FAIL;
        heard.reason = L"the card service did not respond";
    }
    return heard;
}

bool DecodesToChallenge(const std::string& base64)
{
    DWORD size = 0;
    return CryptStringToBinaryA(base64.data(), static_cast<DWORD>(base64.size()),
                                CRYPT_STRING_BASE64, nullptr, &size, nullptr, nullptr) &&
           size == kChallengeBytes;
}

std::size_t Rank(const std::wstring& status)
{
    std::size_t rank = 0;
    while (kVerdicts[rank].code != nullptr && status != kVerdicts[rank].code) {
        ++rank;
    }
    return rank;
}

struct Row {
    std::string id;
    bool eligible = false;
    std::wstring status;
};

// The rows of a verdict that counts: one for each credential asked about.
std::optional<std::vector<Row>> RowsOf(const std::optional<std::string>& line, std::size_t asked)
{
    if (!line || TruthOf(*line, "ok") != true) {
        return std::nullopt;
    }
    const auto elements = ElementsOf(*line, "results");
    if (!elements || elements->size() != asked) {
        return std::nullopt;
    }
    std::vector<Row> rows;
    for (const std::string& element : *elements) {
        const auto id = TextOf(element, "credId");
        const auto eligible = TruthOf(element, "eligible");
        const auto status = TextOf(element, "status");
        if (!id || !eligible || !status) {
            return std::nullopt;
        }
        rows.push_back({*id, *eligible, Wide(*status)});
    }
    return rows;
}

class Course {
 public:
    Course(Road road, const CardAnswers& answers) : road_(road), answers_(answers) {}

    Foresight Run()
    {
        const bool armed = road_ == Road::kFreshPc ? SetUp() : TapAndArm();
        if (armed && CardIsTheirs()) {
            end_.accepted = true;
            end_.exit = "accepted";
            end_.status =
                road_ == Road::kOtherUser ? L"Your security key is verified." : L"Signing in…";
        }
        return end_;
    }

 private:
    enum class Step { kTap, kBuild, kSetUp };

    Heard Ask(const char* command)
    {
        const Heard heard = Hear(answers_.at(command));
        if (heard.hr != HRESULT_FROM_WIN32(ERROR_PIPE_BUSY)) {
            end_.commands.emplace_back(command);
        }
        end_.passedMs += heard.passedMs;
        return heard;
    }

    bool Fail(Step step, HRESULT hr, const std::wstring& reason)
    {
        constexpr const char* kLines[] = {"the tap failed", "BuildCertificateLogon failed",
                                          "JIT provisioning failed"};
        constexpr const wchar_t* kPrefixes[] = {L"", L"Sign-in failed: ",
                                                L"Couldn't set up sign-in: "};
        const auto at = static_cast<std::size_t>(step);
        char line[96] = {};
        std::snprintf(line, sizeof line, "GetSerialization: %s hr=0x%08lX (", kLines[at],
                      static_cast<unsigned long>(hr));
        end_.failureLine = line;
        end_.exit = Narrow(kPrefixes[at] + reason);
        end_.status = kPrefixes[at] + reason;
        return false;
    }

    // The service's own words, if it has any.
    bool Refused(Step step, const std::string& line, const wchar_t* defaultReason)
    {
        std::wstring words = Wide(TextOf(line, "error").value_or(""));
        words = words.c_str();  // nobody is shown what stands behind a zero
        Fail(step, E_ACCESSDENIED, words.empty() ? defaultReason : words);
        if (!words.empty()) {
            end_.exit = "the service's own words";
        }
        return false;
    }

    bool TapAndArm()
    {
        const Step step = road_ == Road::kOtherUser ? Step::kTap : Step::kBuild;
        return TakeChallenge(step) && Filter(step) && Arm();
    }

    bool TakeChallenge(Step step)
    {
        const auto [line, hr, noLine, passedMs] = Ask("provchallenge");
        if (!line) {
            return Fail(step, hr, noLine);
        }
        if (TruthOf(*line, "ok") != true) {
            return Refused(step, *line, L"the enrollment server did not issue a challenge");
        }
        const auto nonce = TextOf(*line, "nonce");
        if (!nonce) {
            return Fail(step, E_FAIL, L"the enrollment server returned no challenge nonce");
        }
        const auto hash = TextOf(*line, "cdh");
        if (!hash) {
            return Fail(step, E_FAIL,
                        L"the sign-in service on this PC is out of date — contact IT to update it");
        }
        if (!DecodesToChallenge(*nonce)) {
            return Fail(step, E_FAIL,
                        L"the card service returned an invalid sign-in challenge — try again");
        }
        if (!DecodesToChallenge(*hash)) {
            return Fail(step, E_FAIL,
                        L"the card service returned an invalid challenge hash — try again");
        }
        end_.rpId = Narrow(Wide(TextOf(*line, "rpId").value_or("corp.example")));
        end_.rpId = end_.rpId.c_str();  // the key takes it up to the first zero byte
        end_.taps = 1;
        return true;
    }

    // Without a whole verdict all accounts stay; the first that stays is the one that is sent.
    bool Filter(Step step)
    {
        const std::vector<std::string> ids = CredentialIdsOf(road_);
        const auto rows = RowsOf(Ask("filteraccounts").line, ids.size());
        std::optional<std::string> first;
        std::size_t best = std::size(kVerdicts);
        for (const std::string& id : ids) {
            const auto row = !rows ? nullptr : Find(*rows, id);
            if (row == nullptr) {
                accountToSend_ = ids.front();
                return true;
            }
            if (row->eligible && !first) {
                first = id;
            } else if (!row->eligible) {
                best = std::min(best, Rank(row->status));
            }
        }
        accountToSend_ = first.value_or("");
        return first || Fail(step, E_ACCESSDENIED, kVerdicts[best].text);
    }

    static const Row* Find(const std::vector<Row>& rows, const std::string& id)
    {
        const auto row = std::ranges::find(rows, id, &Row::id);
        return row != rows.end() ? &*row : nullptr;
    }

    bool Arm()
    {
        const auto [line, hr, noLine, passedMs] = Ask("armorprovision");
        end_.credentialId = hr == HRESULT_FROM_WIN32(ERROR_PIPE_BUSY) ? "" : accountToSend_;
        if (!line) {
            return Fail(Step::kBuild, hr, noLine);
        }
        const auto ok = TruthOf(*line, "ok");
        if (ok == false) {
            return Refused(Step::kBuild, *line, L"the security key was not authorized");
        }
        if (!ok) {
            return Fail(
                Step::kBuild, E_FAIL,
                L"the card service gave an invalid answer while signing you in — try again");
        }
        const auto upn = TextOf(*line, "upn");
        if (!upn) {
            return Fail(Step::kBuild, E_FAIL,
                        L"the card service did not say which account it signed in");
        }
        armedFor_ = Wide(*upn);
        end_.passedMs += TruthOf(*line, "cardSwapped") == true ? kSettleMs : 0;
        return true;
    }

    bool SetUp()
    {
        const auto status = Ask("status").line;
        const auto provisioned = status && TruthOf(*status, "ok") == true
                                     ? TruthOf(*status, "provisioned")
                                     : std::nullopt;
        if (provisioned.value_or(true)) {  // else the reader tells, and it has a card
            return Fail(Step::kBuild, E_FAIL,
                        L"this PC is not set up for security-key sign-in — contact IT");
        }
        const auto [line, hr, noLine, passedMs] = Ask("provision");
        if (!line) {
            return Fail(Step::kSetUp, hr, noLine);
        }
        const auto ok = TruthOf(*line, "ok");
        if (ok == false) {
            return Refused(Step::kSetUp, *line, L"provisioning failed");
        }
        if (!ok) {
            return Fail(
                Step::kSetUp, E_FAIL,
                L"the card service gave an invalid answer while setting up this PC — try again");
        }
        const auto upn = TextOf(*line, "upn");
        if (!upn) {
            return Fail(Step::kSetUp, E_FAIL,
                        L"the card service did not say which account it set up");
        }
        armedFor_ = Wide(*upn);
        end_.passedMs += kSettleMs;
        return true;
    }

    bool CardIsTheirs()
    {
        return SameAccount(armedFor_, kCardsAccount) ||
               Fail(Step::kBuild, kWrongUser,
                    L"the wrong card is loaded for your account — sign out and try again");
    }

    Road road_;
    const CardAnswers& answers_;
    std::string accountToSend_;
    std::wstring armedFor_;
    Foresight end_;
};

}  // namespace

Foresight Foresee(Road road, const CardAnswers& answers)
{
    return Course(road, answers).Run();
}

DisarmForesight ForeseeDisarm(const CardAnswer& answer)
{
    const Heard heard = Hear(answer);
    std::string line;
    if (!heard.line) {
        line = "softcardctl: disarm did not reach the card service (" + Narrow(heard.reason) + ")";
    } else if (TruthOf(*heard.line, "ok") != true) {
        line = "softcardctl: disarm refused (";
    } else {
        line = "softcardctl: disarm ok - the card can no longer sign (gate was ";
        line += TruthOf(*heard.line, "wasArmed") == true ? "open)." : "already closed).";
    }
    return {line, heard.passedMs};
}

}  // namespace kelvor::trust
