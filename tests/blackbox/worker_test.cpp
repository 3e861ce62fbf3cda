// How a click runs when there is no worker to be had, nobody to tell, or a message queue to serve.
#include "call_order.h"
#include "pumped_call.h"
#include "support/readable_failures.h"

using kelvor::simulator::ImportPatch;
using kelvor::test::Answer;
using kelvor::test::ClickWith;
using kelvor::test::PumpedCall;
using kelvor::test::Stage;
using kelvor::test::WithoutProviderSink;

namespace {

bool TakeQuit()
{
    MSG message = {};
    return PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE;
}

DWORD WINAPI FailingWait(DWORD, const HANDLE*, DWORD, DWORD, DWORD)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
}

BOOL WINAPI NoModuleHandle(DWORD /*flags*/, LPCWSTR /*name*/, HMODULE* module)
{
    *module = nullptr;
    SetLastError(ERROR_MOD_NOT_FOUND);
    return FALSE;
}

}  // namespace

TEST_CASE("A user's own tile without LogonUI's sink signs in the blocking way")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const Answer answer = stage.Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(answer.buffer.size() == 366);
    CHECK(answer.package == stage.lsa.Package());
}

TEST_CASE("A failed blocking sign-in offers the PIN again")
{
    Stage stage(WithoutProviderSink());
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.Click();
    CHECK(stage.TheTile().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("The key watch is stopped before a blocking sign-in")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const std::size_t watch = stage.threads.Started() - 1;
    stage.Click();
    CHECK(stage.threads.HasEnded(watch));
}

TEST_CASE("A sign-in whose sink was taken away cannot be collected and says so")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.Provider()->UnAdvise();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.log.Has("ERROR",
                        "async submit: no provider events -- the credential cannot be collected."));
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Without a worker thread the sign-in runs in the blocking way")
{
    Stage stage;
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    const Answer answer = stage.Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: CreateThread failed (8) -- signing in the blocking way "
                        "instead."));
    CHECK(stage.Sink()->Changes().empty());
}

TEST_CASE("A worker that cannot hold the module loaded is not started")
{
    Stage stage;
    stage.TypePin();
    const ImportPatch patch(stage.Module().Handle(), "GetModuleHandleExW", &NoModuleHandle);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: CreateThread failed (126) -- signing in the blocking "
                        "way instead."));
}

TEST_CASE("Without any thread the sign-in runs inline")
{
    Stage stage;
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
    const Answer answer = stage.Click();
    stage.threads.Calls().Succeed("CreateThread");
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN", "GetSerialization: CreateThread failed (8) - running inline."));
    CHECK(stage.key.Taps().at(0).threadId == GetCurrentThreadId());
}

TEST_CASE("A refused sign-in that ran inline comes with its text")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
    const Answer answer = stage.Click();
    stage.threads.Calls().Succeed("CreateThread");
    CHECK(answer.statusText ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
    CHECK(answer.statusIcon == CPSI_ERROR);
}

TEST_CASE("After a worker thread was missing the next click uses one again")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Click();
    stage.key.SetBeginCode(0);
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A click that a pumped message brings is ignored while a blocking sign-in runs")
{
    Stage stage(WithoutProviderSink());
    std::vector<Answer> pumped;
    const Answer answer = ClickWith(stage, [&] { pumped.push_back(stage.TheTile().Click()); });
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    REQUIRE(pumped.size() == 1);
    CHECK(pumped[0].IsEmpty());
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: re-entered while a sign-in is already running - "
                        "ignored."));
    CHECK(stage.key.Taps().size() == 1);
}

TEST_CASE("A message that is posted during a blocking sign-in is dispatched while it runs")
{
    Stage stage(WithoutProviderSink());
    stage.key.HoldTouch();
    stage.TypePin();
    const PumpedCall touch([&] { stage.key.Touch(); });
    touch.Post();
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A blocking sign-in on a tile without its event shows its progress from its own thread")
{
    Stage stage(WithoutProviderSink());
    stage.pipe.Calls().Fail("CreateEventW", ERROR_NOT_ENOUGH_MEMORY);
    stage.Open();
    stage.pipe.Calls().Succeed("CreateEventW");
    stage.key.HoldTouch();
    stage.TypePin();
    stage.TheTile().Events().Forget();
    const PumpedCall touch([&] { stage.key.Touch(); });
    touch.Post();
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    const auto statuses = stage.TheTile().Events().Calls("SetFieldString", 5);
    REQUIRE_FALSE(statuses.empty());
    CHECK(statuses.front().threadId == stage.threads.IdOf(stage.threads.Started() - 1));
}

TEST_CASE("A quit message that arrives during a blocking sign-in is there again afterwards")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    PostQuitMessage(0);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(TakeQuit());
    CHECK_FALSE(TakeQuit());
}

TEST_CASE("A blocking sign-in without a quit message posts none")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    stage.Click();
    CHECK_FALSE(TakeQuit());
}

TEST_CASE("A blocking sign-in whose message wait fails stops pumping and still ends")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const ImportPatch patch(stage.Module().Handle(), "MsgWaitForMultipleObjectsEx", &FailingWait);
    CHECK(stage.Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: message wait returned 4294967295 (6) - no longer "
                        "pumping."));
}
