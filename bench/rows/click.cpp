// A click on Sign In: from GetSerialization on the tile of CORP\alice to CredentialsChanged, and
// within it from the key's answer to the next request on the pipe. Whatever comes before and after,
// the selection and the collection, is not measured.
#include <algorithm>

#include "host/both_sides.h"
#include "host/card_service.h"
#include "rows/clicks.h"
#include "rows/rows.h"
#include "sampler/report.h"
#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

template <class Side>
double TimeClick(Side& side)
{
    side.Prepare();
    const double us = side.Click();
    side.Finish();
    return us;
}

void RequireSameRequests(std::vector<std::string> module, std::vector<std::string> bare)
{
    if (module.empty() || module != bare) {
        throw NotTheSameWork("the two sides send different requests");
    }
}

// Both clicks once; only the click itself is compared, not what prepares and ends it. The watch's
// first poll tells what the directory answered; it could otherwise come in between.
void Compare(BothSides& sides, CardService& service, ModuleClick& module, BareClick& bare)
{
    std::vector<std::string> requests[2];
    module.Prepare();
    sides.WaitForMessage("domain probe: domain controller located");
    bare.Prepare();
    sides.RequireSameWork(
        [&] {
            service.TakeRequests();
            module.Click();
            Sleep(50);
            requests[0] = service.TakeRequests();
        },
        [&] {
            bare.Click();
            Sleep(50);
            requests[1] = service.TakeRequests();
        });
    module.Finish();
    RequireSameRequests(requests[0], requests[1]);
}

struct NextSteps {
    std::vector<double> module, bare;
};

// An event that somebody waits for on a thread of its own, who then connects and writes: the least
// that lies between an answer and the next request.
double BareNextStep(CardService& service)
{
    struct Waiting {
        HANDLE answered;
    } waiting = {CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* parameter) -> DWORD {
            WaitForSingleObject(static_cast<Waiting*>(parameter)->answered, INFINITE);
            HANDLE pipe =
                CreateFileW(L"\\\\.\\pipe\\KelvorSoftCardCtl", GENERIC_READ | GENERIC_WRITE, 0,
                            nullptr, OPEN_EXISTING, 0, nullptr);
            DWORD moved = 0;
            constexpr char kRequest[] = "{\"cmd\":\"filteraccounts\"}\n";
            WriteFile(pipe, kRequest, sizeof kRequest - 1, &moved, nullptr);
            char byte = 0;
            ReadFile(pipe, &byte, 1, &moved, nullptr);
            CloseHandle(pipe);
            return 0;
        },
        &waiting, 0, nullptr);
    Sleep(2);
    const double begin = NowUs();
    SetEvent(waiting.answered);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    CloseHandle(waiting.answered);
    return service.FilterArrivedAtUs() - begin;
}

}  // namespace

void ClickToCredential(const Plan& plan)
{
    BothSides sides;
    CardService service;
    NextSteps next;
    {
        ModuleClick module(sides);
        BareClick bare(sides.Bare());
        Compare(sides, service, module, bare);
        const auto timeModule = [&] {
            const double us = TimeClick(module);
            next.module.push_back(service.FilterArrivedAtUs() - KeyAnsweredAtUs());
            next.bare.push_back(BareNextStep(service));
            service.TakeRequests();
            return us;
        };
        Report(
            "click to credential", "", "us",
            SideBySide({{"module", timeModule}, {"bare", [&] { return TimeClick(bare); }}}, plan));
    }
    for (std::vector<double>* steps : {&next.module, &next.bare}) {
        steps->erase(steps->begin(), steps->begin() + static_cast<std::ptrdiff_t>(plan.warmUp));
    }
    Report("answer to next step", "", "us", {{"module", next.module}, {"bare", next.bare}});
}

}  // namespace kelvor::bench
