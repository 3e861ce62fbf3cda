#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kelvor::trust {

// Puts a stand-in for each function that can fail in front of whatever the module's import table
// holds at that moment, and numbers each thread that the module starts before it runs. For good:
// the import table goes with the module.
void Interpose(HMODULE module);

// The names of all functions that a module imports.
std::vector<std::string> ImportedNames(HMODULE module);

}  // namespace kelvor::trust
