#pragma once

#include <windows.h>

namespace kelvor {

// A critical section that is entered through With and in no other way, so that it is left on
// every path. The callable copies state in or out; it neither waits nor calls LogonUI.
class Lock {
 public:
    Lock() noexcept { InitializeCriticalSection(&section_); }
    ~Lock() { DeleteCriticalSection(&section_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    template <class Callable>
    decltype(auto) With(Callable&& callable) const
    {
        const Entered entered(section_);
        return callable();
    }

 private:
    class Entered {
     public:
        explicit Entered(CRITICAL_SECTION& section) noexcept : section_(section)
        {
            EnterCriticalSection(&section_);
        }
        ~Entered() { LeaveCriticalSection(&section_); }
        Entered(const Entered&) = delete;
        Entered& operator=(const Entered&) = delete;

     private:
        CRITICAL_SECTION& section_;
    };

    mutable CRITICAL_SECTION section_ = {};
};

}  // namespace kelvor
