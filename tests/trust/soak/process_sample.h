#pragma once

#include <array>
#include <cstddef>

namespace kelvor::trust {

// What is measured of this process, and by how much it may seem to grow over a whole run: the
// measures are not quite still even when nothing leaks.
struct SampleKind {
    const char* name;
    const char* unit;
    double allowance;
};

inline constexpr std::array<SampleKind, 6> kSampleKinds = {{
    {"handles", "", 2},
    {"threads", "", 1},
    {"private memory", "KiB", 2048},
    {"working set", "KiB", 4096},
    {"heap blocks in use", "", 200},
    {"heap in use", "KiB", 1024},
}};

using ProcessSample = std::array<double, kSampleKinds.size()>;

// This process as it is now, in the order of the kinds. Throws std::runtime_error when Windows will
// not tell.
ProcessSample SampleProcess();

}  // namespace kelvor::trust
