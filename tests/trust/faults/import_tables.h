#pragma once

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "trust/faults/fallible.h"

// What the module imports, in two lists: the functions that can fail, each with its ways, and those
// that cannot, each with the reason. A test holds the two against the module.
namespace kelvor::trust {

using Fallibles = std::vector<std::unique_ptr<Fallible>>;

// All of them, in a fixed order: a fault's number counts on it.
const Fallibles& FallibleFunctions();

// Fallible functions by what they are for.
void AddThreadFunctions(Fallibles& all);
void AddFileFunctions(Fallibles& all);
void AddTextFunctions(Fallibles& all);
void AddSettingsFunctions(Fallibles& all);
void AddCardFunctions(Fallibles& all);
void AddDomainFunctions(Fallibles& all);
void AddKeyFunctions(Fallibles& all);
void AddScreenFunctions(Fallibles& all);
void AddRuntimeFunctions(Fallibles& all);

template <NameLiteral kName, class Signature>
void Add(Fallibles& all, Area area,
         std::vector<typename FallibleFunction<kName, Signature>::Way> ways)
{
    all.push_back(std::make_unique<FallibleFunction<kName, Signature>>(area, std::move(ways)));
}

// A function of which no call is made to fail, and why.
struct Unfailing {
    const char* name;
    const char* reason;
    bool called = true;  // false: a run in which the module calls it ends the process
};
std::span<const Unfailing> UnfailingFunctions();

}  // namespace kelvor::trust
