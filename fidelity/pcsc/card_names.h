#pragma once

#include <vector>

#include "imports/import_table.h"

namespace kelvor::fidelity {

// Answers SCardListCardsW, which Wine does not have, from the registry, where Windows keeps the
// names of known cards by their answer to reset (Cryptography\Calais\SmartCards), and takes back
// what it gave. Everything else of the card stack stays what it is. One object at a time.
class CardNames {
 public:
    CardNames();
    CardNames(const CardNames&) = delete;
    CardNames& operator=(const CardNames&) = delete;

 private:
    std::vector<simulator::ImportPatch> patches_;
};

}  // namespace kelvor::fidelity
