#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "support/tile.h"
#include "tile_expectation.h"

namespace kelvor::trust {

// What the sink of a tile knows of its tile. It outlives LogonUI's hold on the tile.
struct SinkSide {
    ICredentialProviderCredential* tile = nullptr;  // alive while it calls its sink
    std::atomic<bool> pumping{false};               // LogonUI's thread is in its blocking sign-in
};

// One tile in LogonUI's hands, and what LogonUI may expect of it.
struct HeldTile {
    HeldTile(ComRef<ICredentialProviderCredential> credential, Violations& violations)
        : tile(std::move(credential)), phase(violations), sinkSide(std::make_shared<SinkSide>())
    {
        sinkSide->tile = tile.Get();
    }

    test::Tile tile;
    DWORD index = 0;             // its place in the provider's list...
    std::size_t generation = 0;  // ...of this enumeration
    bool advised = false;
    PhaseExpectation phase;
    Pins pins;
    std::shared_ptr<SinkSide> sinkSide;
    bool heldBefore = false;                    // so that a worker nobody knows of may run
    std::vector<std::size_t> workers;           // threads that its clicks started
    std::vector<std::size_t> selectionThreads;  // threads that its selections started
    std::size_t lastClick = kNoClick;
    std::size_t watchLooks = 0;  // of its last watch at the key
    bool watchSawKey = false;    // at the last look

    static constexpr std::size_t kNoClick = static_cast<std::size_t>(-1);
};

}  // namespace kelvor::trust
