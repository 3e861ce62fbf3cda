#pragma once

#include <windows.h>

#include <atomic>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::bench {

// Stand-ins for what a module asks of the key library, the smart cards, LSA, the directory and the
// screen. All of them answer at once and keep no books, so that next to nothing but the module's
// own time and that of Windows' own services is measured. The key holds one credential of
// CORP\alice, whose card is in the reader. One set of answers for all modules of the process.
std::vector<simulator::ImportPatch> QuickSurroundings(HMODULE module);

// When the last prov_assert_hmac_begin answered, on the clock of NowUs.
std::atomic<double>& KeyAnsweredAtUs() noexcept;

// The threads that the modules started since the last call: waits for the end of each and forgets
// them. Answers how many there were.
std::size_t JoinModuleThreads();

// The parts of it, each a list of what to put in the place of what.
struct Replacement {
    const char* function;
    void* standIn;
};
std::vector<Replacement> QuickKey();
std::vector<Replacement> QuickCard();
std::vector<Replacement> QuickSystem();

}  // namespace kelvor::bench
