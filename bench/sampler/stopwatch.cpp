#include "sampler/stopwatch.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <ctime>
#endif

namespace kelvor::bench {

#ifdef _WIN32
double NowUs() noexcept
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER now;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}
#else
double NowUs() noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}
#endif

}  // namespace kelvor::bench
