#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "lock.h"
#include "trust/faults/fault.h"

namespace kelvor::trust {

// What each thread called of one function so far: a set of bits for each call, one bit for each way
// in which that very call could have failed.
using CallsByThread = std::array<std::vector<unsigned>, kThreads>;

// Counts the calls of the functions that can fail, and tells the one that is to. Any thread.
class FaultDesk {
 public:
    // One for the process, since a stand-in in an import table knows nothing but its arguments.
    static FaultDesk& Mine();

    // Forgets the last run. The calling thread is LogonUI's in the next one, in which `fault`, if
    // any, strikes.
    void Begin(std::size_t functions, std::optional<Fault> fault);
    // Nothing fails from now on.
    void Disarm();
    // The next thread of the module has this id.
    void NumberThread(DWORD id);

    // Notes a call by the current thread that could fail in the ways `possible`. Returns the way in
    // which it has to. `lasting` has a bit for each way that, once it struck, strikes again at
    // every later call by anybody.
    std::optional<std::size_t> Enter(std::size_t function, unsigned possible, unsigned lasting);

    bool Struck() const;
    std::vector<CallsByThread> Calls() const;

 private:
    std::size_t NumberOf(DWORD id) const noexcept;

    Lock lock_;
    std::vector<DWORD> threads_;
    std::vector<CallsByThread> calls_;
    std::optional<Fault> fault_;
    bool struck_ = false;
};

}  // namespace kelvor::trust
