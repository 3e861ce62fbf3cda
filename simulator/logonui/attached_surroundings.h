#pragma once

#include <windows.h>

#include <string>

#include "surroundings/clock.h"
#include "surroundings/directory.h"
#include "surroundings/lsa.h"
#include "surroundings/smart_card_csp.h"
#include "surroundings/virtual_reader.h"
#include "world/world.h"

namespace kelvor::simulator {

// Puts the module into the world: its readers and its smart-card provider show what the card
// service has in the virtual reader, its directory answers as the world says. The reader exists
// as long as the card service runs.
class AttachedSurroundings {
 public:
    // With a clock, the directory takes its time by it; it must outlive this object.
    AttachedSurroundings(HMODULE module, const World& world, Clock* clock);
    AttachedSurroundings(const AttachedSurroundings&) = delete;
    AttachedSurroundings& operator=(const AttachedSurroundings&) = delete;

    // The directory maps one account at a time: that of the tile which is about to be selected.
    // Empty for a tile without a user.
    void MapAccount(const std::wstring& qualifiedName);

 private:
    void AnswerAfter(DWORD delayMs, Clock* clock);

    const DirectoryWorld directoryWorld_;
    VirtualReader reader_;
    SmartCardCsp csp_;
    Directory directory_;
    Lsa lsa_;
};

}  // namespace kelvor::simulator
