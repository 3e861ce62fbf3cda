#pragma once

#include <windows.h>

#include <atomic>
#include <string>

#include "handle.h"
#include "lock.h"

namespace kelvor::trust {

// Ends this process, saying where it was, when nothing is heard for a minute.
class HangWatch {
 public:
    static constexpr UINT kExitCode = 86;

    explicit HangWatch(std::string what);
    ~HangWatch();
    HangWatch(const HangWatch&) = delete;
    HangWatch& operator=(const HangWatch&) = delete;

    // All is well, and this comes next.
    void Hear(const char* next);

 private:
    static DWORD WINAPI Thread(void* watch);

    const std::string what_;
    std::atomic<const char*> next_{"the first step"};
    std::atomic<bool> over_{false};
    UniqueKernelObject heard_;
    UniqueKernelObject thread_;
};

}  // namespace kelvor::trust
