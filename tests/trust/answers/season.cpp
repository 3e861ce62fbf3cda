#include "trust/answers/season.h"

#include <cstdio>

#include <doctest.h>

#include "support/readable_failures.h"
#include "trust/support/noted_waits.h"
#include "trust/support/options.h"
#include "trust/support/report.h"

namespace kelvor::trust {
namespace {

constexpr std::size_t kSignInsOfAStage = 40;
// The runtime and the system take their share over the first stages.
constexpr std::size_t kStagesToWarmUp = 3;
constexpr std::size_t kShownBytes = 400;
constexpr std::size_t kWorthATable = 2'000;
// What the system's own caches may take in the meantime; a leak of a byte a sign-in is more.
constexpr long long kToleratedBytes = 16'384;
// Where what was freed counts, too, until the heaps have had enough of it.
constexpr long long kKeptBytes = 262'144;
constexpr long long kToleratedHandles = 4;

std::string Escaped(const std::string& bytes)
{
    std::string escaped;
    for (const char byte : bytes) {
        char shown[5] = {byte};
        if (byte < ' ' || byte > '~' || byte == '\\') {
            std::snprintf(shown, sizeof shown, "\\x%02X", static_cast<unsigned char>(byte));
        }
        escaped += shown;
    }
    return escaped;
}

std::string Shown(const CardAnswers& answers)
{
    std::string shown;
    for (const auto& [command, answer] : answers) {
        shown += "\n  " + command + ": " + Escaped(answer.bytes.substr(0, kShownBytes)) +
                 (answer.bytes.size() > kShownBytes
                      ? "... " + std::to_string(answer.bytes.size()) + " bytes"
                      : "") +
                 (answer.hangsUp ? " and hangs up" : "");
    }
    return shown;
}

std::string HowToRepeat(std::size_t index)
{
    const auto count = TheOptions().count;
    return "scripts/under_wine build/mingw/tests/trust/answers/kelvor_trust_answers.exe --seed " +
           std::to_string(TheOptions().seed) + " --replay " + std::to_string(index) +
           (count ? " --count " + std::to_string(*count) : "") + " -tc=\"" +
           doctest::getContextOptions()->currentTest->m_name + "\"";
}

}  // namespace

void Season::Play(std::size_t index, const std::string& name, const CardAnswers& answers,
                  const std::vector<CardAnswer>& furtherDisarms)
{
    if (played_ % kSignInsOfAStage == 0) {
        LetStageGo();
        rehearsal_ = std::make_unique<Rehearsal>(road_, tally_, readsAhead_);
    }
    ++played_;
    for (const std::string& complaint : rehearsal_->Play(answers, furtherDisarms)) {
        FAIL_CHECK(name << ": " << complaint << "\n  repeat with " << HowToRepeat(index)
                        << Shown(answers));
    }
    if (TheOptions().replay) {
        MESSAGE(name << Shown(answers));
    }
}

void Season::LetStageGo()
{
    if (!rehearsal_) {
        return;
    }
    CHECK(rehearsal_->KeptToItsLimits());
    rehearsal_.reset();
    ++stages_;
    last_ = CountHouse();
    if (stages_ == kStagesToWarmUp) {
        warm_ = last_;
    }
}

void Season::End(const std::string& answers)
{
    LetStageGo();
    CHECK(UnprescribedWaits() == std::vector<std::string>{});
    CheckNothingGrew(answers);
    WriteFigures(answers);
}

void Season::CheckNothingGrew(const std::string& answers) const
{
    if (!warm_ || stages_ == kStagesToWarmUp) {
        return;
    }
    const auto bytes =
        static_cast<long long>(last_.heapBytes) - static_cast<long long>(warm_->heapBytes);
    const auto handles =
        static_cast<long long>(last_.handles) - static_cast<long long>(warm_->handles);
    CHECK(bytes < kToleratedBytes + (freedBlocksCount_ ? kKeptBytes : 0));
    CHECK(handles < kToleratedHandles);
    const std::size_t signIns = (stages_ - kStagesToWarmUp) * kSignInsOfAStage;
    ReportFigure("Sign-ins with " + answers + " leave no memory and no handle behind",
                 std::to_string(bytes) + " bytes and " + std::to_string(handles) +
                     " handles more after " + Grouped(signIns) + " sign-ins");
}

void Season::WriteFigures(const std::string& answers) const
{
    std::string commands;
    for (const auto& [command, count] : tally_.answers) {
        commands += (commands.empty() ? "" : ", ") + Grouped(count) + " to " + command;
    }
    ReportFigure("Sign-ins with " + answers +
                     " end as another reading of the answers foretells: text, result, logon, "
                     "requests, touches, and time to the millisecond",
                 Grouped(tally_.signIns) + " sign-ins, " + Grouped(tally_.Answers()) +
                     " answers: " + commands);
    ReportFigure("Sign-ins with " + answers +
                     " leave no secret in the log, nor in memory after each kind of end",
                 Grouped(tally_.logsSearched) + " logs, " + Grouped(tally_.memorySearches) +
                     " searches of memory, " + Grouped(tally_.exits.size()) + " kinds of end");
    ReportFigure("With " + answers +
                     " each reported logon disarms the card once, and a sign-in that fails after "
                     "the arming leaves LogonUI nothing to collect",
                 Grouped(tally_.reported) + " reports, " + Grouped(tally_.failedAfterArming) +
                     " failures after the arming");
    if (tally_.signIns < kWorthATable) {
        return;
    }
    std::vector<std::vector<std::string>> exits;
    for (const auto& [exit, count] : tally_.exits) {
        exits.push_back({exit, Grouped(count)});
    }
    ReportTable("Ends of the sign-ins with " + answers, {"end", "sign-ins"}, exits);
}

}  // namespace kelvor::trust
