#pragma once

#include <span>
#include <string>
#include <vector>

#include "trust/support/random.h"

namespace kelvor::trust {

class World;

// Something that LogonUI, the user, the key, the directory or the card service can do. What the two
// numbers of a step mean is up to the act; any number means something.
struct Act {
    const char* name;
    unsigned weight;  // how often it is drawn, among all
    void (*take)(World& world, unsigned first, unsigned second);
};

struct Step {
    const Act* act = nullptr;
    unsigned first = 0;
    unsigned second = 0;
};
using Sequence = std::vector<Step>;

// The acts, by whose they are.
std::span<const Act> ProviderActs();
std::span<const Act> TileActs();
std::span<const Act> UserActs();
std::span<const Act> SurroundingsActs();

// One to two hundred steps, mostly few. Most sequences begin as LogonUI does.
Sequence MakeSequence(Random random);
std::string TextOf(const Sequence& sequence);

}  // namespace kelvor::trust
