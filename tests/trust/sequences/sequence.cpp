#include <algorithm>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <string_view>

#include "step.h"

namespace kelvor::trust {
namespace {

constexpr unsigned kNumbers = 64;
constexpr unsigned kFirstTile = 1;
constexpr unsigned kSecondTile = 3;
constexpr std::size_t kLongest = 200;

std::vector<const Act*> AllActs()
{
    std::vector<const Act*> acts;
    for (const auto part : {ProviderActs(), TileActs(), UserActs(), SurroundingsActs()}) {
        std::ranges::transform(part, std::back_inserter(acts), [](const Act& act) { return &act; });
    }
    return acts;
}

const Act* Named(std::string_view name)
{
    for (const Act* act : AllActs()) {
        if (act->name == name) {
            return act;
        }
    }
    throw std::logic_error("no act has that name");
}

const Act* Draw(Random& random, const std::vector<const Act*>& acts)
{
    const auto total =
        std::accumulate(acts.begin(), acts.end(), std::size_t{0},
                        [](std::size_t sum, const Act* act) { return sum + act->weight; });
    std::size_t at = random.Below(total);
    for (const Act* act : acts) {
        if (at < act->weight) {
            return act;
        }
        at -= act->weight;
    }
    return acts.back();
}

std::size_t DrawLength(Random& random)
{
    const std::size_t band = random.Below(32);
    if (band < 24) {
        return 1 + random.Below(12);
    }
    return band < 31 ? 13 + random.Below(28) : 41 + random.Below(160);
}

// As LogonUI begins: the numbers are those with which the acts do the ordinary thing.
Sequence Opening(Random& random)
{
    const auto user = random.OneIn(2) ? kFirstTile : kSecondTile;
    Sequence steps = {
        {Named("CreateProvider"), 1, 1},       {Named("SetUsageScenario"), 0, 1},
        {Named("SetUserArray"), 1, 1},         {Named("AdviseProvider"), 1, 1},
        {Named("GetCredentialCount"), 1, 1},   {Named("GetCredentialAt"), 0, 1},
        {Named("GetCredentialAt"), 1, 1},      {Named("AdviseTile"), kFirstTile, 1},
        {Named("AdviseTile"), kSecondTile, 1}, {Named("SetSelected"), user, 1},
        {Named("TypePin"), user, 1},           {Named("Click"), user, 1},
    };
    steps.resize(steps.size() - random.Below(4));
    return steps;
}

}  // namespace

Sequence MakeSequence(Random random)
{
    const std::vector<const Act*> acts = AllActs();
    Sequence sequence = random.OneIn(8) ? Sequence() : Opening(random);
    const std::size_t length = std::min(sequence.size() + DrawLength(random), kLongest);
    while (sequence.size() < length) {
        const Act* const act = Draw(random, acts);
        const auto first = static_cast<unsigned>(random.Below(kNumbers));
        sequence.push_back({act, first, static_cast<unsigned>(random.Below(kNumbers))});
    }
    return sequence;
}

std::string TextOf(const Sequence& sequence)
{
    std::string text;
    for (const Step& step : sequence) {
        text += std::string("    ") + step.act->name + "(" + std::to_string(step.first) + ", " +
                std::to_string(step.second) + ")\n";
    }
    return text;
}

}  // namespace kelvor::trust
