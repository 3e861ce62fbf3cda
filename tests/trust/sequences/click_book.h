#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/stage.h"
#include "tile_expectation.h"

namespace kelvor::trust {

// Which clicks there were, and which threads and taps of the key came of each: a click makes one
// attempt with a PIN at most, and with the PIN that its tile had.
class ClickBook {
 public:
    ClickBook(test::Stage& stage, Violations& violations) : stage_(stage), violations_(violations)
    {
    }

    // What a click found, before it is made.
    std::size_t Begin(const Pins& pins);
    struct Result {
        std::vector<std::size_t> threads;  // that it started, not those of a click inside it
        bool inPlace = false;              // the key was tapped on LogonUI's own thread
    };
    Result End(std::size_t click);
    // Its PIN may have been wiped before the sign-in took it.
    void MayHaveLost(std::size_t click);

    // The number of a PIN that LogonUI is about to type.
    unsigned NumberOf(std::string_view pin);
    // Judges every tap there was.
    void Judge() const;

 private:
    struct Click {
        std::size_t firstThread = 0;
        std::size_t firstTap = 0;
        Pins pins;
        std::set<DWORD> threadIds;
        std::set<std::size_t> taps;  // made on LogonUI's thread
    };
    void JudgeTap(std::size_t number, const test::TapRequest& tap,
                  std::map<std::size_t, std::size_t>& taps) const;
    bool MayCarry(const Click& click, const test::TapRequest& tap) const;

    test::Stage& stage_;
    Violations& violations_;
    std::vector<Click> clicks_;
    std::set<std::size_t> knownThreads_;
    std::set<std::size_t> knownTaps_;
    std::map<std::string, unsigned> pins_;  // masked
};

}  // namespace kelvor::trust
