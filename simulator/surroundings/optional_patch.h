#pragma once

#include <string>
#include <vector>

#include "imports/import_table.h"

namespace kelvor::simulator {

// As ImportPatch, for functions that a module may well do without: adds a patch to `patches` when
// the module imports `function`, nothing otherwise.
template <class Function>
void PatchIfImported(std::vector<ImportPatch>& patches, HMODULE module, const char* function,
                     Function replacement)
{
    for (const Import& import : ListImports(module)) {
        if (import.function == function) {
            patches.emplace_back(module, function, replacement);
            return;
        }
    }
}

}  // namespace kelvor::simulator
