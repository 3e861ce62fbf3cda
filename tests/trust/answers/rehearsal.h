#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/secret_stage.h"
#include "support/stage.h"
#include "trust/answers/card_answers.h"
#include "trust/answers/foresight.h"
#include "trust/support/noted_waits.h"

namespace kelvor::trust {

// What a run of many sign-ins adds up to.
struct Tally {
    std::size_t signIns = 0;
    std::map<std::string, std::size_t> answers;  // that were not right ones, by command
    std::map<std::string, std::size_t> exits;
    std::size_t reported = 0;
    std::size_t failedAfterArming = 0;
    std::size_t logsSearched = 0;
    std::size_t memorySearches = 0;
    std::set<std::string> searchedExits;

    std::size_t Answers() const;
};

// A stage on which one sign-in after another is played, each with other answers of the card
// service, and each held against what its answers have to lead to.
class Rehearsal {
 public:
    // `readsAhead`: what the module reads byte by byte is taken from the pipe at once, which lets
    // many more sign-ins be played.
    Rehearsal(Road road, Tally& tally, bool readsAhead);
    ~Rehearsal();
    Rehearsal(const Rehearsal&) = delete;
    Rehearsal& operator=(const Rehearsal&) = delete;

    // Plays one and says what was wrong with it: nothing. An accepted one is reported once and then
    // once more for each further answer to a disarm.
    std::vector<std::string> Play(const CardAnswers& answers,
                                  const std::vector<CardAnswer>& furtherDisarms = {});
    // Whether the module waited for nothing longer than the protocol allows.
    bool KeptToItsLimits() const;

 private:
    test::Reply ReplyOf(const std::string& command, const CardAnswer& answer, std::size_t busyNext);
    void MakeBusy(std::size_t times);
    bool AwaitReadingOf(std::size_t offset, std::uint64_t limitMs);
    void Act(const CardAnswers& answers);
    void Expect(bool holds, const std::string& complaint);
    void CheckTile(const Foresight& foresight);
    std::string TakeLog();
    void CheckLog(const Foresight& foresight);
    void CheckKey(const Foresight& foresight);
    void CheckLogon();
    void ReportAndCheck(const CardAnswer& answer);
    void CheckNothingIsParked();
    void CheckCommands(const std::vector<std::string>& wanted);
    void CheckTime(std::uint64_t wantedMs);
    void SearchMemory(const std::string& exit);
    void Count(const std::string& command, const CardAnswer& answer);

    Road road_;
    Tally& tally_;
    CardAnswers golden_;
    std::unique_ptr<test::SecretStage> stage_;
    WaitNotes waits_;
    std::vector<unsigned char> goldenBuffer_;
    std::vector<std::string> complaints_;
    std::size_t commandsBefore_ = 0;
    std::size_t tapsBefore_ = 0;
    std::uint64_t beginMs_ = 0;
    std::string sentId_;
};

}  // namespace kelvor::trust
