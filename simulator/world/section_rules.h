#pragma once

#include <span>
#include <string_view>

#include "world/world.h"

namespace kelvor::simulator {

// A key that a section may hold. `apply` stores the value in the world, for a repeatable section in
// its latest entry; it throws std::runtime_error for a value that makes no sense.
struct KeyRule {
    std::string_view name;
    void (*apply)(World& world, std::string_view value);
};

// A section that a world's file may hold. `begin` adds an entry for a repeatable section; null for
// those that may stand there once.
struct SectionRule {
    std::string_view name;
    void (*begin)(World& world);
    std::span<const KeyRule> keys;
};

// Every section, in the order of docs/world.md.
std::span<const SectionRule> SectionRules();

}  // namespace kelvor::simulator
