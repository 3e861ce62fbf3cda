#include "trust/answers/rehearsal.h"

#include <algorithm>

#include <doctest.h>

#include "support/readable_failures.h"
#include "trust/support/options.h"

namespace kelvor::trust {
namespace {

using test::FakeCredential;
using test::Reply;

constexpr const char* kHandedOver = "GetSerialization: returning KERB_CERTIFICATE_LOGON (";
constexpr const char* kFailedAt[] = {
    "GetSerialization: the tap failed hr=", "GetSerialization: BuildCertificateLogon failed hr=",
    "GetSerialization: JIT provisioning failed hr="};
constexpr LONG kLogonFailure = static_cast<LONG>(0xC000006D);

test::StageOptions OptionsOf(Road road)
{
    test::StageOptions options;
    options.otherUser = road == Road::kOtherUser;
    return options;
}

FakeCredential Bob()
{
    FakeCredential bob;
    bob.userName = "CORP\\bob";
    bob.id = {0xB0, 0xB1};
    bob.hmacSeed = test::kSeedOfBob;
    return bob;
}

std::size_t Occurrences(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string joined;
    for (const std::string& word : words) {
        joined += (joined.empty() ? "" : " ") + word;
    }
    return joined;
}

// The value of a member that holds plain letters only. Nothing else of the request is copied: it
// holds secrets.
std::string PlainMember(std::string_view request, std::string_view key)
{
    const std::size_t at = request.find(key);
    const std::size_t begin = at + key.size();
    return at == std::string_view::npos
               ? std::string()
               : std::string(request.substr(begin, request.find('"', begin) - begin));
}

std::string Shown(const std::wstring& text)
{
    return doctest::toString(text).c_str();
}

}  // namespace

std::size_t Tally::Answers() const
{
    std::size_t sum = 0;
    for (const auto& [command, count] : answers) {
        sum += count;
    }
    return sum;
}

Rehearsal::Rehearsal(Road road, Tally& tally, bool readsAhead)
    : road_(road),
      tally_(tally),
      golden_(GoldenAnswers(road)),
      stage_(std::make_unique<test::SecretStage>(OptionsOf(road))),
      waits_(stage_->Module().Handle())
{
    if (road == Road::kFreshPc) {
        stage_->settings.Remove(L"FidoGate");
    } else if (road == Road::kTile) {
        stage_->key.SetCredentials({FakeCredential{}, Bob()});
    }
    stage_->SetOnRequest([this](std::string_view request) {
        if (request.starts_with(R"({"cmd":"armorprovision")")) {
            sentId_ = PlainMember(request, R"("credId":")");
        }
    });
    if (readsAhead) {
        stage_->pipe.ReadAheadOfModule();
    }
    // All pipes taken: it is not waited for in real time.
    stage_->pipe.Calls().Fail("WaitNamedPipeW", ERROR_SEM_TIMEOUT);
    stage_->Select();
    stage_->WaitForProbe();
    Act(golden_);
    goldenBuffer_ = stage_->Collect().buffer;
    stage_->Report(0);
    stage_->log.Forget();
    REQUIRE_FALSE(goldenBuffer_.empty());
}

Rehearsal::~Rehearsal() = default;

std::vector<std::string> Rehearsal::Play(const CardAnswers& answers,
                                         const std::vector<CardAnswer>& furtherDisarms)
{
    complaints_.clear();
    const Foresight foresight = Foresee(road_, answers);
    Act(answers);
    CheckTile(foresight);
    CheckLog(foresight);
    CheckKey(foresight);
    CheckTime(foresight.passedMs);
    CheckCommands(foresight.commands);
    if (foresight.accepted) {
        CheckLogon();
        ReportAndCheck(answers.at("disarm"));
        for (const CardAnswer& disarm : furtherDisarms) {
            ReportAndCheck(disarm);
        }
    } else {
        CheckNothingIsParked();
        const std::string last = foresight.commands.empty() ? "" : foresight.commands.back();
        tally_.failedAfterArming += last == "armorprovision" || last == "provision" ? 1 : 0;
    }
    SearchMemory(foresight.exit);
    ++tally_.signIns;
    ++tally_.exits[foresight.exit];
    for (const std::string& command : foresight.commands) {
        Count(command, answers.at(command));
    }
    return complaints_;
}

bool Rehearsal::KeptToItsLimits() const
{
    // The key watch's turn; the answers to disarm, status, challenge or verdict, and arming.
    constexpr DWORD kLimitsMs[] = {500, 3'000, 10'000, 30'000, 120'000};
    return std::ranges::all_of(stage_->clock.Waits(), [&](DWORD limitMs) {
        return std::ranges::count(kLimitsMs, limitMs) != 0;
    });
}

// The reply's pieces end where the answer pauses. Once the service writes, the next request's turn
// comes, for which all pipes may be taken.
Reply Rehearsal::ReplyOf(const std::string& command, const CardAnswer& answer, std::size_t busyNext)
{
    Reply reply;
    reply.hangsUp = answer.hangsUp;
    std::size_t begin = 0;
    for (const Pause& pause : answer.pauses) {
        reply.pieces.push_back(answer.bytes.substr(begin, pause.offset - begin));
        begin = pause.offset;
    }
    reply.pieces.push_back(answer.bytes.substr(begin));
    reply.before = [this, pauses = answer.pauses, limitMs = LimitMsOf(command),
                    busyNext](std::size_t piece) {
        if (piece == 0) {
            MakeBusy(busyNext);
        } else if (piece <= pauses.size() && AwaitReadingOf(pauses[piece - 1].offset, limitMs)) {
            stage_->clock.Advance(pauses[piece - 1].ms);
        }
    };
    return reply;
}

void Rehearsal::MakeBusy(std::size_t times)
{
    stage_->pipe.FailOpens(std::vector<DWORD>(times, ERROR_PIPE_BUSY));
}

// Waits, in real time, until the module has read the answer up to the offset and waits for more.
bool Rehearsal::AwaitReadingOf(std::size_t offset, std::uint64_t limitMs)
{
    return stage_->pipe.WaitForReads(offset + 1) &&
           stage_->clock.WaitForWaiter(static_cast<DWORD>(limitMs));
}

void Rehearsal::Act(const CardAnswers& answers)
{
    const std::vector<std::string> order = CommandsOf(road_);
    for (std::size_t i = 0; i < order.size(); ++i) {
        const bool last = i + 1 == order.size();
        stage_->service.Answers(order[i], ReplyOf(order[i], answers.at(order[i]),
                                                  last ? 0 : answers.at(order[i + 1]).busyTimes));
    }
    MakeBusy(answers.at(order.front()).busyTimes);
    stage_->pipe.Calls().Forget();
    commandsBefore_ = stage_->service.Commands().size();
    tapsBefore_ = stage_->key.Taps().size();
    sentId_.clear();
    beginMs_ = stage_->clock.NowMs();
    test::TypeThePin(*stage_);
    stage_->Click();
    stage_->WaitForWorker();
}

void Rehearsal::Expect(bool holds, const std::string& complaint)
{
    if (!holds) {
        complaints_.push_back(complaint);
    }
}

void Rehearsal::CheckTile(const Foresight& foresight)
{
    const std::wstring status = stage_->Status();
    Expect(status == foresight.status,
           "the tile says " + Shown(status) + " and not " + Shown(foresight.status));
}

// What was logged since it was last taken. No secret is ever in it.
std::string Rehearsal::TakeLog()
{
    const std::string log = stage_->log.Bytes();
    stage_->log.Forget();
    std::vector<std::string> places;
    const auto* const bytes = reinterpret_cast<const unsigned char*>(log.data());
    test::SecretSearch().Look(bytes, log.size(), places, bytes);
    Expect(places.empty(), "the log holds " + Joined(places));
    ++tally_.logsSearched;
    return log;
}

// One end and no other, with its result.
void Rehearsal::CheckLog(const Foresight& foresight)
{
    const std::string log = TakeLog();
    Expect(Occurrences(log, kHandedOver) == (foresight.accepted ? 1U : 0U),
           "the log tells otherwise whether a credential was built");
    std::size_t failures = 0;
    for (const char* failure : kFailedAt) {
        failures += Occurrences(log, failure);
    }
    Expect(failures == (foresight.accepted ? 0U : 1U), "the log has another number of failures");
    Expect(foresight.accepted || Occurrences(log, foresight.failureLine) == 1,
           "the log lacks " + foresight.failureLine);
}

void Rehearsal::CheckKey(const Foresight& foresight)
{
    const std::vector<test::TapRequest> taps = stage_->key.Taps();
    Expect(taps.size() - tapsBefore_ == foresight.taps, "the key was asked for another touch");
    Expect(foresight.taps == 0 || taps.empty() ||
               (taps.back().rpId == foresight.rpId && taps.back().pinRight),
           "the key was asked for something else");
    Expect(sentId_ == foresight.credentialId,
           "the statement of '" + sentId_ + "' was sent and not '" + foresight.credentialId + "'s");
}

// What LogonUI gets is the one logon that there is to get.
void Rehearsal::CheckLogon()
{
    const test::Answer answer = stage_->Collect();
    Expect(answer.result == S_OK && answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED,
           "LogonUI collected nothing");
    Expect(answer.buffer == goldenBuffer_, "LogonUI collected another logon");
}

// Whatever LSA said and whatever the service answers, the card is to be disarmed.
void Rehearsal::ReportAndCheck(const CardAnswer& answer)
{
    stage_->service.Answers("disarm", ReplyOf("disarm", answer, 0));
    MakeBusy(answer.busyTimes);
    const std::size_t before = stage_->service.Count("disarm");
    beginMs_ = stage_->clock.NowMs();
    stage_->Report(tally_.reported % 2 == 0 ? 0 : kLogonFailure);
    const DisarmForesight foresight = ForeseeDisarm(answer);
    Expect(Occurrences(TakeLog(), foresight.line) == 1, "the log lacks " + foresight.line);
    const bool busy = answer.busyTimes > 40;
    Expect(stage_->service.Count("disarm") == before + (busy ? 0 : 1),
           "the card was not disarmed once");
    CheckTime(foresight.passedMs);
    ++tally_.reported;
    Count("disarm", answer);
}

void Rehearsal::CheckNothingIsParked()
{
    Expect(!stage_->AskTileCount().autoLogon, "a failed sign-in left a credential");
}

void Rehearsal::CheckCommands(const std::vector<std::string>& wanted)
{
    const std::vector<std::string> all = stage_->service.Commands();
    const std::vector<std::string> asked(all.begin() + static_cast<std::ptrdiff_t>(commandsBefore_),
                                         all.end());
    Expect(asked == wanted,
           "the service was asked '" + Joined(asked) + "' and not '" + Joined(wanted) + "'");
}

// To the millisecond: the service's pauses, the steps of waiting for it, and the card's settling.
void Rehearsal::CheckTime(std::uint64_t wantedMs)
{
    const std::uint64_t passedMs = stage_->clock.NowMs() - beginMs_;
    Expect(passedMs == wantedMs,
           "it took " + std::to_string(passedMs) + " ms and not " + std::to_string(wantedMs));
}

// In the short form at the first end of each kind, and now and then.
void Rehearsal::SearchMemory(const std::string& exit)
{
    constexpr std::size_t kNowAndThen = 200;
    if (!tally_.searchedExits.insert(exit).second && !IsLongForm() &&
        tally_.signIns % kNowAndThen != 0) {
        return;
    }
    const std::vector<std::string> places = stage_->SecretsLeft();
    Expect(places.empty(), "secrets are left: " + Joined(places));
    ++tally_.memorySearches;
}

void Rehearsal::Count(const std::string& command, const CardAnswer& answer)
{
    const CardAnswer& golden = golden_.at(command);
    if (answer.bytes != golden.bytes || answer.hangsUp || !answer.pauses.empty() ||
        answer.busyTimes != 0) {
        ++tally_.answers[command];
    }
}

}  // namespace kelvor::trust
