// Probes that outlive the moment they were made for.
#include "call_order.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;

namespace {

constexpr const wchar_t* kStillWaiting =
    L"Contacting the domain… this is taking longer than usual. Check this PC's network or VPN "
    L"connection.";
constexpr const wchar_t* kUnreachable =
    L"This PC cannot reach the domain — check its network or VPN connection. Your security key is "
    L"fine, but signing in needs a domain controller.";

// A selected tile whose directory does not answer.
struct Unanswered : Stage {
    explicit Unanswered(std::uint64_t selectedAtMs = 1'000'000)
    {
        Open();
        clock.Set(selectedAtMs);
        directory.Hold();
        Select();
        REQUIRE(directory.WaitUntilHeld(10'000));
    }
    void Answer()
    {
        directory.Release();
        WaitForProbe();
    }
};

}  // namespace

TEST_CASE("A directory that fails after the warning is called unreachable instead")
{
    Unanswered stage;
    stage.directory.SetLocatorFailure(1355);
    stage.Poll(13);
    CHECK(stage.Status() == kStillWaiting);
    stage.Answer();
    stage.Poll();
    CHECK(stage.Status() == kUnreachable);
    CHECK(stage.log.Has("WARN",
                        "domain probe: no domain controller could be located after 6500 ms "
                        "(DsGetDcName failed (1355))."));
    CHECK(stage.log.Messages("WARN").size() == 2);
}

TEST_CASE("The wait for the directory is counted right across the tick count's turn to zero")
{
    Unanswered stage(0xFFFF'FC00);
    stage.Poll(11);
    CHECK(stage.Status() == kKeyPresentPrompt);
    stage.Poll();
    CHECK(stage.Status() == kStillWaiting);
    CHECK(stage.log.Has("WARN", "domain probe: still no answer from the directory after 6000 ms."));
}

TEST_CASE("A probe that answers after its selection has ended reports nothing")
{
    Unanswered stage;
    stage.Deselect();
    stage.directory.SetLocatorFailure(1355);
    stage.Answer();
    stage.directory.SetDomainControllerFound();
    stage.Select();
    stage.WaitForProbe();
    stage.Poll(2);
    CHECK(stage.Status() == kKeyPresentPrompt);
    CHECK(stage.log.Messages("WARN").empty());
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 0 ms; tile UPN "
                        "alice@corp.example."));
}

TEST_CASE("A probe that answers while a sign-in is in flight is reported after the next selection")
{
    Unanswered stage;
    stage.directory.SetLocatorFailure(1355);
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.Answer();
    CHECK(stage.Status() == kTouchPrompt);
    stage.key.Touch();
    stage.WaitForWorker();
    stage.Collect();
    stage.Select();
    stage.Poll();
    CHECK(stage.Status() == kUnreachable);
    CHECK(stage.directory.Calls().Count("DsGetDcNameW") == 1);
}

TEST_CASE("A domain that cannot be reached is reported once a selection")
{
    Stage stage;
    stage.directory.SetLocatorFailure(1355);
    stage.Select();
    stage.WaitForProbe();
    stage.Poll(3);
    const std::string line =
        "domain probe: no domain controller could be located after 0 ms (DsGetDcName failed "
        "(1355)).";
    CHECK(stage.log.Count("WARN", line) == 1);
    stage.Deselect();
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.log.Count("WARN", line) == 2);
}
