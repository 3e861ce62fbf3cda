#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/module_under_test.h"
#include "trust/answers/house_count.h"
#include "trust/answers/rehearsal.h"

namespace kelvor::trust {

// Many sign-ins on one road: a new stage after every so many, complaints told with what repeats
// them, and this process counted after each stage.
class Season {
 public:
    explicit Season(Road road, bool readsAhead = false) : road_(road), readsAhead_(readsAhead) {}

    // Plays the sign-in number `index`; `name` says what is done in it.
    void Play(std::size_t index, const std::string& name, const CardAnswers& answers,
              const std::vector<CardAnswer>& furtherDisarms = {});
    // How many answers the module has taken that were not right ones.
    std::size_t Answers() const { return tally_.Answers(); }
    // Lets the last stage go, checks that nothing has grown, and writes the figures. `answers` says
    // what kind they were: "edited answers about a touch".
    void End(const std::string& answers);

 private:
    void LetStageGo();
    void CheckNothingGrew(const std::string& answers) const;
    void WriteFigures(const std::string& answers) const;

    Road road_;
    bool readsAhead_;
    // Keeps the module loaded: its runtime takes memory at each load that it never gives back.
    test::ModuleUnderTest module_;
    Tally tally_;
    std::unique_ptr<Rehearsal> rehearsal_;
    const bool freedBlocksCount_ = FreedBlocksCount();
    std::size_t played_ = 0;
    std::size_t stages_ = 0;
    std::optional<HouseCount> warm_;
    HouseCount last_;
};

}  // namespace kelvor::trust
