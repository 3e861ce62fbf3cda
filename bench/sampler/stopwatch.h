#pragma once

namespace kelvor::bench {

// Microseconds of a clock that only runs forward.
double NowUs() noexcept;

// How long `work` takes, in microseconds.
template <class Work>
double TimeOf(Work&& work)
{
    const double begin = NowUs();
    work();
    return NowUs() - begin;
}

// Keeps the optimiser from dropping the work that made `value`.
template <class T>
void Keep(const T& value) noexcept
{
    asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace kelvor::bench
