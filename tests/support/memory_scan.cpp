#include "support/memory_scan.h"

#include <cstdio>

namespace kelvor::test {
namespace {

bool CanRead(const MEMORY_BASIC_INFORMATION& region)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY |
                                PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return region.State == MEM_COMMIT && (region.Protect & kReadable) != 0 &&
           (region.Protect & PAGE_GUARD) == 0;
}

std::string Place(const ForbiddenBytes& forbidden, const unsigned char* at,
                  const MEMORY_BASIC_INFORMATION& region)
{
    char line[160] = {};
    std::snprintf(line, sizeof line, "%s at %p (region of %p, %zu bytes, protection 0x%lX)",
                  forbidden.Name().c_str(), static_cast<const void*>(at), region.AllocationBase,
                  static_cast<std::size_t>(region.RegionSize), region.Protect);
    return line;
}

void SearchRegion(const MEMORY_BASIC_INFORMATION& region,
                  const std::vector<ForbiddenBytes>& forbidden, std::vector<std::string>& places)
{
    const auto* begin = static_cast<const unsigned char*>(region.BaseAddress);
    for (const ForbiddenBytes& run : forbidden) {
        if (region.RegionSize < run.Size()) {
            continue;
        }
        const unsigned char* last = begin + (region.RegionSize - run.Size());
        for (const unsigned char* at = begin; at <= last; ++at) {
            if ((*at ^ ForbiddenBytes::kMask) == run.FirstMasked() && run.StandAt(at)) {
                places.push_back(Place(run, at, region));
            }
        }
    }
}

}  // namespace

std::vector<std::string> FindInMemory(const std::vector<ForbiddenBytes>& forbidden)
{
    std::vector<std::string> places;
    places.reserve(64);
    MEMORY_BASIC_INFORMATION region = {};
    const unsigned char* next = nullptr;
    while (VirtualQuery(next, &region, sizeof region) == sizeof region) {
        if (CanRead(region)) {
            SearchRegion(region, forbidden, places);
        }
        next = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return places;
}

}  // namespace kelvor::test
