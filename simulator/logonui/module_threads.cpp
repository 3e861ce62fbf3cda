#include "logonui/module_threads.h"

#include <optional>

namespace kelvor::simulator {
namespace {

bool EachWaits(const ThreadWatch& threads, const Clock& clock, std::optional<DWORD> limitMs)
{
    for (std::size_t thread = 0; thread < threads.Started(); ++thread) {
        if (!threads.HasEnded(thread) && !clock.IsWaiting(threads.IdOf(thread), limitMs)) {
            return false;
        }
    }
    return true;
}

}  // namespace

ModuleThreads::ModuleThreads(HMODULE module, const CallRange& failing) : threads_(module)
{
    if (failing.first != 0) {
        threads_.Calls().FailAfter("CreateThread", failing.first - 1, ERROR_NOT_ENOUGH_MEMORY,
                                   failing.last - failing.first + 1);
    }
}

bool ModuleThreads::AtRest(const Clock& clock) const
{
    return EachWaits(threads_, clock, kKeyWatchPollMs);
}

bool ModuleThreads::AllWait(const Clock& clock) const
{
    return EachWaits(threads_, clock, std::nullopt);
}

}  // namespace kelvor::simulator
