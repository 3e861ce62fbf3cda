#include "host/quick_surroundings.h"

#include "surroundings/optional_patch.h"

namespace kelvor::bench {

std::vector<simulator::ImportPatch> QuickSurroundings(HMODULE module)
{
    std::vector<simulator::ImportPatch> patches;
    for (const auto& part : {QuickKey(), QuickCard(), QuickSystem()}) {
        for (const Replacement& replacement : part) {
            simulator::PatchIfImported(patches, module, replacement.function, replacement.standIn);
        }
    }
    return patches;
}

}  // namespace kelvor::bench
