#include "logonui/call_record.h"

#include <utility>

namespace kelvor::simulator {

void CallRecord::Add(std::string text)
{
    SinkCall call{GetTickCount64() - startTick_, GetCurrentThreadId(), std::move(text)};
    lock_.With([&] { calls_.push_back(std::move(call)); });
}

std::vector<SinkCall> CallRecord::Calls() const
{
    return lock_.With([&] { return calls_; });
}

}  // namespace kelvor::simulator
