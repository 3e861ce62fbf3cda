#include "module_blocks.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "surroundings/optional_patch.h"

namespace kelvor::trust {
namespace {

std::atomic<long> held = 0;

void* Counted(void* block)
{
    held += block != nullptr ? 1 : 0;
    return block;
}

void* WINAPI Allocate(std::size_t sizeBytes)
{
    return Counted(std::malloc(sizeBytes));
}

void* WINAPI AllocateZeros(std::size_t count, std::size_t sizeBytes)
{
    return Counted(std::calloc(count, sizeBytes));
}

void* WINAPI Reallocate(void* block, std::size_t sizeBytes)
{
    void* const moved = std::realloc(block, sizeBytes);
    return block == nullptr ? Counted(moved) : moved;
}

void WINAPI Free(void* block)
{
    held -= block != nullptr ? 1 : 0;
    std::free(block);
}

}  // namespace

ModuleBlocks::ModuleBlocks(HMODULE module)
{
    held = 0;
    simulator::PatchIfImported(patches_, module, "malloc", &Allocate);
    simulator::PatchIfImported(patches_, module, "calloc", &AllocateZeros);
    simulator::PatchIfImported(patches_, module, "realloc", &Reallocate);
    simulator::PatchIfImported(patches_, module, "free", &Free);
}

long ModuleBlocks::Held() const noexcept
{
    return held;
}

}  // namespace kelvor::trust
