#include "visits.h"

#include <doctest.h>

#include <array>
#include <string>

namespace kelvor::trust {
namespace {

using test::Stage;

constexpr LONG kLogonFailure = static_cast<LONG>(0xC000006D);
constexpr LONG kCardFailure = static_cast<LONG>(0xC0000321);

// The tile's threads end with the selection, the domain probe's by itself.
void Leave(Stage& stage)
{
    stage.Deselect();
    REQUIRE(stage.threads.JoinFrom(0));
}

void SignInAndReport(Stage& stage, LONG status)
{
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Report(status);
    Leave(stage);
}

void BeRefused(Stage& stage)
{
    stage.SignIn();
    CHECK_FALSE(stage.AskTileCount().autoLogon);
    Leave(stage);
}

void Succeeds(Stage& stage, Random& /*random*/)
{
    SignInAndReport(stage, 0);
}

void RefusedByLsa(Stage& stage, Random& random)
{
    SignInAndReport(stage, random.OneIn(2) ? kLogonFailure : kCardFailure);
}

void RefusedByService(Stage& stage, Random& random)
{
    constexpr std::array<const char*, 2> kCommands = {"provchallenge", "armorprovision"};
    constexpr std::array<const char*, 4> kAnswers = {R"({"ok":false,"error":"no licence left"})",
                                                     R"({"ok":true})", "{", ""};
    stage.service.AnswersOnce(random.Pick(kCommands), test::Reply::Line(random.Pick(kAnswers)));
    BeRefused(stage);
}

void DroppedByService(Stage& stage, Random& /*random*/)
{
    stage.service.AnswersOnce("armorprovision", test::Reply::HangUp());
    BeRefused(stage);
}

void ServiceIsGone(Stage& stage, Random& /*random*/)
{
    stage.service.Stop();
    BeRefused(stage);
    stage.service.Start();
}

void RefusedByKey(Stage& stage, Random& random)
{
    constexpr std::array<int, 4> kCodes = {0x31, 0x32, 0x2E, -1};
    stage.key.SetBeginCode(random.Pick(kCodes));
    BeRefused(stage);
    stage.key.SetBeginCode(0);
}

void KeyComesAndGoes(Stage& stage, Random& random)
{
    stage.Select();
    for (std::size_t change = random.Below(4) + 1; change > 0; --change) {
        stage.key.SetPresent(random.OneIn(2));
        stage.key.SetNfc(random.OneIn(2));
        stage.Poll();
    }
    stage.key.SetPresent(true);
    stage.key.SetNfc(false);
    stage.Poll();
    Leave(stage);
}

void LooksAndLeaves(Stage& stage, Random& random)
{
    if (random.OneIn(2)) {
        stage.TypePin();
    } else {
        stage.Select();
    }
    Leave(stage);
}

void NoDomainController(Stage& stage, Random& random)
{
    stage.directory.SetLocatorFailure(ERROR_NO_SUCH_DOMAIN);
    LooksAndLeaves(stage, random);
    stage.directory.SetDomainControllerFound();
}

void LeftWhileTheKeyBlinks(Stage& stage, Random& /*random*/)
{
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.Deselect();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Report(0);
    Leave(stage);
}

void SignsInWithoutWorker(Stage& stage, Random& /*random*/)
{
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Report(0);
    Leave(stage);
}

void SwitchedOff(Stage& stage, Random& /*random*/)
{
    stage.settings.SetDword(L"Enabled", 0);
    BeRefused(stage);
    stage.settings.SetDword(L"Enabled", 1);
}

constexpr std::array kVisits = {
    &Succeeds,           &RefusedByLsa,          &RefusedByService,     &DroppedByService,
    &ServiceIsGone,      &RefusedByKey,          &KeyComesAndGoes,      &LooksAndLeaves,
    &NoDomainController, &LeftWhileTheKeyBlinks, &SignsInWithoutWorker, &SwitchedOff};

}  // namespace

void Visit(Stage& stage, Random& random)
{
    random.Pick(kVisits)(stage, random);
}

}  // namespace kelvor::trust
