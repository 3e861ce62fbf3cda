#include "shrink.h"

#include <algorithm>
#include <numeric>

namespace kelvor::trust {
namespace {

Places Without(const Places& places, std::size_t first, std::size_t count)
{
    Places rest(places.begin(), places.begin() + static_cast<std::ptrdiff_t>(first));
    const std::size_t end = std::min(first + count, places.size());
    rest.insert(rest.end(), places.begin() + static_cast<std::ptrdiff_t>(end), places.end());
    return rest;
}

}  // namespace

Places Shrink(std::size_t count, const std::function<bool(const Places&)>& stillFails,
              std::size_t mostTries)
{
    Places places(count);
    std::iota(places.begin(), places.end(), std::size_t{0});
    std::size_t tries = 0;
    for (std::size_t run = std::max<std::size_t>(count / 2, 1); run > 0;) {
        bool shrunk = false;
        for (std::size_t at = 0; at < places.size() && tries < mostTries;) {
            const Places fewer = Without(places, at, run);
            ++tries;
            if (stillFails(fewer)) {
                places = fewer;
                shrunk = true;
            } else {
                at += run;
            }
        }
        if (!shrunk || run > 1) {
            run = run == 1 ? 0 : run / 2;
        }
        if (tries >= mostTries) {
            break;
        }
    }
    return places;
}

}  // namespace kelvor::trust
