#include <doctest.h>

#include <stdexcept>
#include <string>

#include "cardservice/fault_plan.h"
#include "cardservice/pipe_client.h"
#include "service_rig.h"

namespace {

using namespace kelvor::simulator;
using kelvor::test::ServiceRig;

constexpr const char* kStatus = R"({"cmd":"status"})";
constexpr const char* kStatusAnswer = R"({"ok":true,"provisioned":true,"cardHidden":false})";

// A world in which the second status misbehaves.
std::string SecondStatus(const char* fault)
{
    return std::string("[fault]\ncommand = status\noccurrence = 2\ndo = ") + fault + "\n";
}

// The first and the third status are answered as ever; `check` sees to the second.
template <class Check>
void CheckSecondStatus(const char* fault, Check check)
{
    ServiceRig rig(SecondStatus(fault));
    rig.Start();
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    check(rig);
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
}

UniquePipe Connect(const ServiceRig& rig)
{
    return UniquePipe(CreateFileW(rig.ControlPipe().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                  nullptr, OPEN_EXISTING, 0, nullptr));
}

// Everything the service sends until it hangs up.
std::string ReadAll(const ServiceRig& rig, const std::string& request)
{
    const UniquePipe pipe = Connect(rig);
    DWORD moved = 0;
    WriteFile(pipe.Get(), request.data(), static_cast<DWORD>(request.size()), &moved, nullptr);
    std::string all;
    char chunk[4096];
    while (ReadFile(pipe.Get(), chunk, sizeof(chunk), &moved, nullptr) && moved > 0) {
        all.append(chunk, moved);
    }
    return all;
}

TEST_CASE("A fault comes at its occurrence of its command, the first that fits")
{
    FaultWorld second;
    second.command = "status";
    second.occurrence = 2;
    second.kind = FaultKind::kSilence;
    FaultWorld any;
    any.occurrence = 3;
    any.kind = FaultKind::kHalf;
    FaultPlan plan({second, any});

    CHECK_FALSE(plan.Next("status"));
    CHECK_FALSE(plan.Next("disarm"));
    const auto both = plan.Next("status");
    REQUIRE(both);
    CHECK(both->kind == FaultKind::kSilence);
    CHECK_FALSE(plan.Next("status"));
}

TEST_CASE("A fault without an occurrence comes every time")
{
    FaultPlan plan({FaultWorld{}});
    CHECK(plan.Next("status"));
    CHECK(plan.Next("disarm"));
}

TEST_CASE("A delayed answer comes later and whole")
{
    CheckSecondStatus("delay 150 ms", [](const ServiceRig& rig) {
        const ULONGLONG startedMs = GetTickCount64();
        CHECK(rig.AskText(kStatus) == kStatusAnswer);
        CHECK(GetTickCount64() - startedMs >= 140);
    });
}

TEST_CASE("Every answer is late in a world with a slow service")
{
    ServiceRig rig("[service]\ndelay = 100 ms\n");
    rig.Start();
    const ULONGLONG startedMs = GetTickCount64();
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    CHECK(GetTickCount64() - startedMs >= 90);
}

TEST_CASE("A silent service keeps the connection and says nothing")
{
    CheckSecondStatus("silence", [](const ServiceRig& rig) {
        CHECK_THROWS_AS(ExchangeLine(rig.ControlPipe().c_str(), kStatus, 200), std::runtime_error);
    });
}

TEST_CASE("Half an answer is the first half of the true one, then the end")
{
    CheckSecondStatus("half", [](const ServiceRig& rig) {
        const std::string line = std::string(kStatusAnswer) + "\n";
        CHECK(ReadAll(rig, std::string(kStatus) + "\n") == line.substr(0, line.size() / 2));
    });
}

TEST_CASE("A service that hangs up sends nothing")
{
    CheckSecondStatus("hang up", [](const ServiceRig& rig) {
        CHECK(ReadAll(rig, std::string(kStatus) + "\n").empty());
    });
}

TEST_CASE("Garbage is a line that is no JSON")
{
    CheckSecondStatus("garbage", [](const ServiceRig& rig) {
        CHECK_THROWS_AS(rig.Ask(kStatus), std::runtime_error);
    });
}

TEST_CASE("A flood has no line feed")
{
    CheckSecondStatus("flood", [](const ServiceRig& rig) {
        const UniquePipe pipe = Connect(rig);
        DWORD moved = 0;
        const std::string request = std::string(kStatus) + "\n";
        WriteFile(pipe.Get(), request.data(), static_cast<DWORD>(request.size()), &moved, nullptr);
        std::string all;
        char chunk[4096];
        while (all.size() < 128 * 1024 &&
               ReadFile(pipe.Get(), chunk, sizeof(chunk), &moved, nullptr) && moved > 0) {
            all.append(chunk, moved);
        }
        CHECK(all == std::string(128 * 1024, 'x'));
    });
}

TEST_CASE("A refusal carries the world's text, or none")
{
    CheckSecondStatus("refuse not today", [](const ServiceRig& rig) {
        CHECK(rig.AskText(kStatus) == R"({"ok":false,"error":"not today"})");
    });
    CheckSecondStatus(
        "refuse", [](const ServiceRig& rig) { CHECK(rig.AskText(kStatus) == R"({"ok":false})"); });
}

TEST_CASE("A scripted answer is sent as it stands in the world")
{
    CheckSecondStatus("answer {\"ok\":\"yes\"}", [](const ServiceRig& rig) {
        CHECK(rig.AskText(kStatus) == R"({"ok":"yes"})");
    });
}

TEST_CASE("A busy service has no free instance after its answer, then serves again")
{
    CheckSecondStatus("busy 400 ms", [](const ServiceRig& rig) {
        const ULONGLONG startedMs = GetTickCount64();
        CHECK(rig.AskText(kStatus) == kStatusAnswer);
        CHECK_FALSE(Connect(rig));
        CHECK(GetLastError() == ERROR_PIPE_BUSY);
        UniquePipe pipe;
        while (!pipe) {
            pipe = Connect(rig);
            if (!pipe) {
                REQUIRE(GetLastError() == ERROR_PIPE_BUSY);
                WaitNamedPipeW(rig.ControlPipe().c_str(), 50);
            }
        }
        CHECK(GetTickCount64() - startedMs >= 390);
    });
}

TEST_CASE("A service that starts busy has no free instance at first")
{
    ServiceRig rig("[service]\nbusy_at_start = 300 ms\n");
    const ULONGLONG startedMs = GetTickCount64();
    rig.Start();
    CHECK_FALSE(Connect(rig));
    CHECK(GetLastError() == ERROR_PIPE_BUSY);
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    CHECK(GetTickCount64() - startedMs >= 290);
}

TEST_CASE("A restarting service is gone for a while and has forgotten its challenges")
{
    ServiceRig rig(SecondStatus("restart 100 ms"));
    rig.Start();
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    const auto arm = rig.Tap();

    CHECK(rig.AskText(kStatus) == kStatusAnswer);

    CHECK(rig.WaitForLog("back, with an empty memory"));
    CHECK(rig.RefusalOf(arm) == "the sign-in challenge is unknown or was used before");
    CHECK(rig.RefusalOf(rig.Tap()).empty());
}

TEST_CASE("While a service restarts, its pipe is not there")
{
    ServiceRig rig(SecondStatus("restart 20 s"));
    rig.Start();
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    CHECK(rig.AskText(kStatus) == kStatusAnswer);
    CHECK(rig.WaitForLog("gone for 20000 ms"));
    CHECK_FALSE(Connect(rig));
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
}

}  // namespace
