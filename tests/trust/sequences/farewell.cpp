// The end of a sequence: whatever LogonUI still holds is let go, everybody goes on, and then
// nothing may be left.
#include <algorithm>
#include <iterator>

#include "support/method_times.h"
#include "world.h"

namespace kelvor::trust {

using test::Timed;

namespace {

constexpr ULONGLONG kPatienceMs = 20'000;

// Every other sequence, by its length, ends without a word.
bool IsSilent(const Sequence& steps)
{
    return steps.size() % 2 == 1;
}

}  // namespace

void World::SayFarewell()
{
    while (!tiles.empty()) {
        const auto held = tiles.front();
        if (!IsSilent(steps_)) {
            held->tile.Deselect();
            Expect(held->tile.UnAdvise() == S_OK, "UnAdvise always succeeds");
            held->advised = false;
        }
        LetGo(held);
    }
    if (provider && !IsSilent(steps_)) {
        Expect(Timed("Provider::UnAdvise", [&] { return provider->UnAdvise(); }) == S_OK,
               "the provider's UnAdvise always succeeds");
    }
    Timed("Provider::Release", [&] {
        provider = {};
        return S_OK;
    });
    for (; serverLocks > 0; --serverLocks) {
        Expect(factory->LockServer(FALSE) == S_OK, "LockServer always succeeds");
    }
    factory = {};
}

void World::EndThreads()
{
    const ULONGLONG giveUpAt = GetTickCount64() + kPatienceMs;
    for (std::size_t thread = 0; thread < stage.threads.Started(); ++thread) {
        while (!HasEnded(thread)) {
            GoOn();
            Sleep(1);
            if (GetTickCount64() >= giveUpAt) {
                violations_.Add("a thread of the module lives on after the last release");
                return;
            }
        }
    }
    if (quitPosted) {
        MSG message = {};
        Expect(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE,
               "a WM_QUIT is not lost");
    }
}

void World::JudgeCallers()
{
    std::set<DWORD> ofModule = {logonUiThread_};
    std::set<DWORD> probes;
    for (std::size_t thread = 0; thread < stage.threads.Started(); ++thread) {
        ofModule.insert(IdOf(thread));
    }
    for (const auto& call : stage.directory.Calls().Calls("DsGetDcNameW")) {
        probes.insert(call.threadId);
    }
    Expect(std::ranges::includes(ofModule, fieldCallers_) &&
               std::ranges::includes(ofModule, changeCallers_),
           "only LogonUI's thread and the module's own call LogonUI");
    std::set<DWORD> speakingProbes;
    std::ranges::set_intersection(probes, fieldCallers_,
                                  std::inserter(speakingProbes, speakingProbes.end()));
    Expect(speakingProbes.empty(), "a domain probe never calls LogonUI");
    Expect(!changeCallers_.contains(logonUiThread_), "CredentialsChanged comes from a worker");
}

void World::LookAtSinks()
{
    Expect(sink->References() == 1, "the provider's sink came back");
    for (const auto& given : users) {
        Expect(given->References() == 1, "the user list came back");
    }
    for (const auto& left : leftSinks_) {
        const ULONG others = left.sink->References() - 1;
        Expect(others <= (left.advised ? 1 : 0), "a tile lets go of its sink when it is unadvised");
        if (others == 1) {
            left.sink->Release();  // went with a tile that was never unadvised
        }
    }
}

}  // namespace kelvor::trust
