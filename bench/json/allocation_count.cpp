#include "json/allocation_count.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t blocks = 0;

}  // namespace

std::size_t kelvor::bench::AllocationCount() noexcept
{
    return blocks;
}

void* operator new(std::size_t sizeBytes)
{
    ++blocks;
    if (void* const block = std::malloc(sizeBytes)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
