#include "sampler/side_by_side.h"

#include <utility>

#include "sampler/stopwatch.h"

namespace kelvor::bench {

std::vector<Series> SideBySide(const std::vector<Side>& sides, const Plan& plan)
{
    std::vector<Series> series(sides.size());
    for (std::size_t i = 0; i < sides.size(); ++i) {
        series[i].side = sides[i].name;
    }
    for (std::size_t round = 0; round < plan.warmUp + plan.samples; ++round) {
        for (std::size_t turn = 0; turn < sides.size(); ++turn) {
            const std::size_t at = (round + turn) % sides.size();
            const double measure = sides[at].sample();
            if (round >= plan.warmUp) {
                series[at].samples.push_back(measure);
            }
        }
    }
    return series;
}

std::function<double()> Batched(std::function<void()> work)
{
    constexpr double kBatchUs = 200;
    std::size_t times = 1;
    for (;; times *= 2) {
        const double tookUs = TimeOf([&] {
            for (std::size_t i = 0; i < times; ++i) {
                work();
            }
        });
        if (tookUs >= kBatchUs) {
            break;
        }
    }
    return [work = std::move(work), times] {
        return TimeOf([&] {
                   for (std::size_t i = 0; i < times; ++i) {
                       work();
                   }
               }) /
               static_cast<double>(times);
    };
}

}  // namespace kelvor::bench
