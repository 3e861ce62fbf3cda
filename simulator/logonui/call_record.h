#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "lock.h"

namespace kelvor::simulator {

// One call that the provider made into this host.
struct SinkCall {
    ULONGLONG elapsedMs = 0;  // since the record began
    DWORD threadId = 0;       // the provider's thread that made it
    std::string text;
};

// The provider's calls in the order in which they came. Any thread.
class CallRecord {
 public:
    void Add(std::string text);
    std::vector<SinkCall> Calls() const;

 private:
    const ULONGLONG startTick_ = GetTickCount64();
    Lock lock_;
    std::vector<SinkCall> calls_;  // under lock_
};

}  // namespace kelvor::simulator
