// Whole sign-ins against a card service that answers with edited and with made-up answers.

#include <windows.h>

#include <numeric>

#include <doctest.h>

#include "trust/answers/answer_edits.h"
#include "trust/answers/answer_maker.h"
#include "trust/answers/season.h"
#include "trust/support/options.h"
#include "trust/support/random.h"

using namespace kelvor::trust;

namespace {

// Further answers to a disarm, of a logon that LogonUI reports over and over. They are cheap, and
// the long form takes many.
std::size_t FurtherDisarms()
{
    return TheOptions().count ? 12 : 2;
}

// Far apart in a list of any length, so that a few of them are of every kind.
std::size_t Spread(std::size_t index, std::size_t total)
{
    std::size_t step = total * 5 / 8 + 1;
    while (std::gcd(step, total) != 1) {
        ++step;
    }
    return index * step % total;
}

struct Case {
    std::string command;
    Edit edit;
};

std::vector<Case> CasesOf(Road road, const std::vector<std::string>& commands,
                          std::vector<Edit> (*edit)(const std::string&, const Members&))
{
    std::vector<Case> cases;
    for (const std::string& command : commands) {
        for (const Members& members : {GoodAnswers(road)[command], Refusal()}) {
            for (Edit& edited : edit(command, members)) {
                cases.push_back({command, std::move(edited)});
            }
        }
    }
    return cases;
}

// The part of --minutes that one of the cases here may take; a quarter of all is the edits'.
class Allowance {
 public:
    explicit Allowance(unsigned percent) : percent_(percent) {}
    bool IsLeft() const
    {
        const auto minutes = TheOptions().minutes;
        return !minutes || GetTickCount64() - beginMs_ < *minutes * std::uint64_t{600} * percent_;
    }

 private:
    unsigned percent_;
    std::uint64_t beginMs_ = GetTickCount64();
};

// In the short form a few of them, in the long one all.
void PlayEdits(Road road, const std::vector<Case>& cases, std::size_t shortCount, unsigned percent,
               const std::string& kind)
{
    const Allowance allowance(percent);
    const CardAnswers golden = GoldenAnswers(road);
    Season season(road);
    for (Tries tries(shortCount);
         tries.GoOn() && tries.Index() < cases.size() && allowance.IsLeft(); tries.Next()) {
        const Case& edited = cases[Spread(tries.Index(), cases.size())];
        CardAnswers answers = golden;
        answers[edited.command] = edited.edit.answer;
        season.Play(tries.Index(), edited.command + " " + edited.edit.name, answers);
    }
    season.End(kind);
}

void PlayMadeUp(Road road, std::size_t shortCount, unsigned percent, const std::string& kind)
{
    const Allowance allowance(percent * 3 / 4);
    const std::size_t wanted =
        TheOptions().count ? *TheOptions().count * percent / 100 : shortCount;
    Season season(road, true);
    for (Tries tries(wanted); tries.GoOn() && season.Answers() < wanted && allowance.IsLeft();
         tries.Next()) {
        Random random(TheOptions().seed, tries.Index());
        AnswerMaker maker(road, random);
        const CardAnswers answers = maker.MakeAll();
        std::vector<CardAnswer> disarms;
        while (disarms.size() < FurtherDisarms()) {
            disarms.push_back(maker.Make("disarm"));
        }
        season.Play(tries.Index(), "made up", answers, disarms);
    }
    season.End(kind);
}

const std::vector<std::string> kTouchCommands = {"provchallenge", "filteraccounts",
                                                 "armorprovision", "disarm"};
const std::vector<std::string> kSetUpCommands = {"status", "provision"};

}  // namespace

TEST_CASE("Edited answers about a touch of the key lead where they have to")
{
    PlayEdits(Road::kTile, CasesOf(Road::kTile, kTouchCommands, &EditsOf), 300, 10,
              "edited answers about a touch");
}

TEST_CASE("Edited answers to the setting up of a PC lead where they have to")
{
    PlayEdits(Road::kFreshPc, CasesOf(Road::kFreshPc, kSetUpCommands, &EditsOf), 130, 5,
              "edited answers to a set-up");
}

TEST_CASE("Lines up to the limit are read and longer ones refused")
{
    PlayEdits(Road::kTile, CasesOf(Road::kTile, kTouchCommands, &LongLinesOf), 2, 3,
              "long answers about a touch");
}

TEST_CASE("Answers about a touch of the key may take their time and no more")
{
    PlayEdits(Road::kTile, CasesOf(Road::kTile, kTouchCommands, &TimingsOf), 60, 5,
              "late answers about a touch");
}

TEST_CASE("Answers to the setting up of a PC may take their time and no more")
{
    PlayEdits(Road::kFreshPc, CasesOf(Road::kFreshPc, kSetUpCommands, &TimingsOf), 30, 2,
              "late answers to a set-up");
}

TEST_CASE("Made-up answers about a touch of the key lead where they have to")
{
    PlayMadeUp(Road::kTile, 900, 60, "made-up answers about a touch");
}

TEST_CASE("Made-up answers on the tile of nobody lead where they have to")
{
    PlayMadeUp(Road::kOtherUser, 350, 20, "made-up answers on the tile of nobody");
}

TEST_CASE("Made-up answers to the setting up of a PC lead where they have to")
{
    PlayMadeUp(Road::kFreshPc, 350, 20, "made-up answers to a set-up");
}
