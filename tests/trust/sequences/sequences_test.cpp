// LogonUI at its worst, and everybody else with it: seeded sequences of anything that may happen,
// in any order, with the module's threads running.
#include <windows.h>

#include <cstdio>
#include <string>

#include <doctest.h>

#include "failure_count.h"
#include "hang_watch.h"
#include "lock_probe.h"
#include "part_run.h"
#include "shrink.h"
#include "support/readable_failures.h"
#include "trust/support/options.h"
#include "trust/support/report.h"
#include "world.h"

using namespace kelvor::trust;

namespace {

constexpr std::size_t kShortCount = 500;
constexpr std::size_t kMostShrinkTries = 300;
constexpr ULONGLONG kMostShrinkMs = 60'000;
constexpr std::size_t kMostFailed = 3;  // what comes after is the same, as a rule
constexpr const wchar_t* kModule = L"KelvorFidoAdLogonCredentialProvider.dll";

// Three of four are played step by step; in the others, steps and threads run as they will.
bool IsPatient(std::uint64_t index)
{
    return index % 4 != 3;
}

bool LooksForSecrets(std::uint64_t index)
{
    constexpr std::uint64_t kOneIn = 10;
    return IsLongForm() || index % kOneIn == 0;
}

Sequence SequenceOf(std::uint64_t index)
{
    return MakeSequence(Random(TheOptions().seed, index));
}

std::vector<std::string> Play(const Sequence& sequence, std::uint64_t index)
{
    std::vector<std::string> found;
    HangWatch hangs("sequence " + std::to_string(index));
    try {
        World world(sequence, IsPatient(index), LooksForSecrets(index));
        world.SetOnStep([&](const char* name) {
            if (TheOptions().replay) {
                MESSAGE(std::string(name));
            }
            hangs.Hear(name);
        });
        world.Play();
        found = world.Found();
        hangs.Hear("the stage's end");
    } catch (const std::exception& error) {
        found.push_back(error.what());
    }
    if (GetModuleHandleW(kModule) != nullptr) {
        found.push_back("the module stays loaded after the last release");
    }
    return found;
}

Sequence PartOf(const Sequence& sequence, const Places& part)
{
    Sequence some;
    for (const std::size_t place : part) {
        some.push_back(sequence.at(place));
    }
    return some;
}

std::string HowToReplay(std::uint64_t index)
{
    return "kelvor_trust_sequences --seed " + std::to_string(TheOptions().seed) + " --replay " +
           std::to_string(index);
}

// What fails may hang, too: whoever reads this knows at once which sequence it is.
void ShowSmallest(const Sequence& whole, std::uint64_t index)
{
    std::printf("%s fails; its smallest part is looked for\n", HowToReplay(index).c_str());
    std::fflush(stdout);
    const ULONGLONG giveUpAt = GetTickCount64() + kMostShrinkMs;
    const auto stillFails = [&](const Places& fewer) {
        return GetTickCount64() < giveUpAt && PartFails(index, fewer);
    };
    const Places smallest = Shrink(whole.size(), stillFails, kMostShrinkTries);
    MESSAGE("the smallest sequence that was found to fail:\n", TextOf(PartOf(whole, smallest)));
}

}  // namespace

TEST_CASE(
    "Whatever LogonUI does in whatever order, random sequences leave nothing and break nothing")
{
    const std::optional<Places> part = PartToPlay();
    LockProbe::OfThisProcess();  // its thread and events are there before any stage counts
    std::size_t steps = 0;
    std::size_t looks = 0;
    std::size_t failed = 0;
    Tries tries(kShortCount);
    for (; failed < kMostFailed && tries.GoOn(); tries.Next()) {
        const std::uint64_t index = tries.Index();
        INFO(HowToReplay(index));
        const Sequence whole = SequenceOf(index);
        const std::size_t failuresBefore = FailureCount();
        CHECK(Play(part ? PartOf(whole, *part) : whole, index) == std::vector<std::string>());
        steps += whole.size();
        looks += LooksForSecrets(index) ? 1 : 0;
        if (FailureCount() != failuresBefore && !part) {
            ++failed;
            ShowSmallest(whole, index);
        }
    }
    CHECK(UnprescribedWaits() == std::vector<std::string>());
    ReportFigure(
        "Sequences of what LogonUI, the user, the key, the directory and the card service "
        "can do, illegal orders and arguments included, broke no rule and left nothing.",
        Grouped(tries.Done()) + " sequences, " + Grouped(steps) + " steps");
    ReportFigure(
        "When everything was let go, nothing was left of a PIN or of the key's secrets in memory, "
        "the log or a request's other members.",
        Grouped(looks) + " searches");
}
