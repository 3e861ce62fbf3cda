// How long the module waits for a card service that takes a connection and reads nothing from it.

#include <vector>

#include "arm_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using namespace kelvor;
using namespace kelvor::test;

TEST_CASE("A request that is not read is given up, and said not to have been sent")
{
    Stage stage;
    stage.service.ReadsNothing();
    stage.pipe.EndWritesAtOnce();
    stage.SignIn();
    CHECK(stage.log.Count("ERROR", "softcardctl: failed to write request gle=995") == 1);
    CHECK(ArmFailed(stage, "0x80004005", "could not send the request to the card service"));
    stage.service.Proceed();
}

TEST_CASE("A request may go unread for as long as its answer may stay away")
{
    Stage stage;
    stage.SignInWhole();
    CHECK(stage.service.Commands() ==
          std::vector<std::string>{"provchallenge", "filteraccounts", "armorprovision", "disarm"});
    CHECK(stage.pipe.WriteLimits() == std::vector<DWORD>{30'000, 30'000, 120'000, 3'000});
}

TEST_CASE("A service that does not read the disarm does not hold LogonUI's thread")
{
    Stage stage;
    stage.SignIn();
    stage.Collect();
    stage.service.ReadsNothing();
    stage.pipe.EndWritesAtOnce();
    stage.Report(0);
    CHECK(stage.log.Count("ERROR", "softcardctl: failed to write request gle=995") == 1);
    stage.service.Proceed();
}

TEST_CASE("Without a timer for the limit nothing is sent, since it might never end")
{
    Stage stage;
    stage.pipe.Calls().Fail("CreateThreadpoolTimer", ERROR_NOT_ENOUGH_MEMORY);
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: could not send the request to the card service");
    CHECK(stage.log.Has("ERROR", "softcardctl: failed to write request gle=8"));
    CHECK(stage.service.Commands().empty());
}
