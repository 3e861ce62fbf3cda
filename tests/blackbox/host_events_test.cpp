// LogonUI's event sinks as hosts have been seen to make them: failing, slow, and calling back.
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "call_order.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;
using kelvor::UniqueKernelObject;

namespace {

constexpr const char* kSinkMethods[] = {
    "SetFieldState",           "SetFieldString",          "SetFieldSubmitButton",
    "AppendFieldComboBoxItem", "DeleteFieldComboBoxItem", "SetFieldComboBoxSelectedItem",
};

bool SetsStatus(const FieldCall& call, const wchar_t* text)
{
    return call == FieldCall{"SetFieldString", 5, 0, text, 0};
}

// Runs `act` once, inside the first call that satisfies `when`.
void CallBackOnce(CredentialEvents& events, std::function<bool(const FieldCall&)> when,
                  std::function<void()> act)
{
    auto done = std::make_shared<std::atomic<bool>>(false);
    events.SetOnCall([=](const FieldCall& call) {
        if (when(call) && !done->exchange(true)) {
            act();
        }
    });
}

// The handles of this process that are open.
std::size_t OpenHandles()
{
    constexpr std::uintptr_t kHandleStep = 4;
    constexpr std::uintptr_t kBeyond = 0x4000;
    std::size_t open = 0;
    for (std::uintptr_t value = kHandleStep; value < kBeyond; value += kHandleStep) {
        DWORD flags = 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number.
        open += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    }
    return open;
}

}  // namespace

TEST_CASE("A sink all of whose methods fail spoils no sign-in")
{
    for (const HRESULT failure : {E_FAIL, RPC_E_DISCONNECTED, E_OUTOFMEMORY}) {
        CAPTURE(failure);
        ChoiceAwaited stage;
        for (const char* method : kSinkMethods) {
            stage.TheTile().Events().Fail(method, failure);
        }
        stage.Deselect();
        stage.SignIn();
        CHECK(stage.TheTile().ComboItems().size() == 2);
        CHECK(stage.TheTile().SelectAccount(1) == S_OK);
        stage.PutCardOf("bob@corp.example");
        stage.SignIn();
        CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
        stage.Report(kNoSuchUser);
        CHECK(stage.TheTile().Text(5) == kNoSuchUserText);
    }
}

TEST_CASE("A provider's sink that fails leaves the credential to be collected")
{
    Stage stage;
    stage.Open();
    stage.Sink()->SetAnswer(RPC_E_DISCONNECTED);
    stage.SignIn();
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A provider's sink that collects inside CredentialsChanged has the credential")
{
    Stage stage;
    stage.Open();
    Answer answer;
    stage.Sink()->SetOnChange([&] {
        CHECK(stage.AskTileCount().autoLogon);
        answer = stage.TheTile().Click();
    });
    stage.SignIn();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK_FALSE(stage.AskTileCount().autoLogon);
    stage.Sink()->SetOnChange({});
}

TEST_CASE("A provider's sink that unadvises inside CredentialsChanged is let go")
{
    Stage stage;
    stage.Open();
    stage.Sink()->SetOnChange([&] { CHECK(stage.Provider()->UnAdvise() == S_OK); });
    stage.SignIn();
    CHECK(stage.Sink()->References() == 1);
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Sink()->SetOnChange({});
}

TEST_CASE("A provider's sink that enumerates anew inside CredentialsChanged gets fresh tiles")
{
    Stage stage;
    stage.Open();
    stage.Sink()->SetOnChange([&] { CHECK_FALSE(stage.EnumerateAnew().autoLogon); });
    stage.SignIn();
    CHECK(stage.Sink()->Changes().size() == 1);
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Sink()->SetOnChange({});
}

TEST_CASE("While CredentialsChanged lasts LogonUI's thread selects, collects and reports")
{
    Stage stage;
    stage.Open();
    const UniqueKernelObject leave(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    stage.Sink()->SetOnChange([&] { WaitForSingleObject(leave.Get(), INFINITE); });
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.Sink()->WaitForChange());
    CHECK(stage.TheTile().Select());
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    stage.Report(kNoSuchUser);
    CHECK(stage.Status() == kNoSuchUserText);
    SetEvent(leave.Get());
    stage.WaitForWorker();
    CHECK(stage.Status() == kNoSuchUserText);
    stage.Sink()->SetOnChange({});
}

TEST_CASE("While the sink of a worker's status lasts LogonUI's thread is served")
{
    Stage stage;
    const UniqueKernelObject inside(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueKernelObject leave(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kTouchPrompt); },
        [&] {
            SetEvent(inside.Get());
            WaitForSingleObject(leave.Get(), INFINITE);
        });
    stage.TypePin();
    stage.Click();
    REQUIRE(WaitForSingleObject(inside.Get(), 10'000) == WAIT_OBJECT_0);
    CHECK(stage.TheTile().Click().IsEmpty());
    CHECK_FALSE(stage.TheTile().Select());
    stage.TheTile().Deselect();
    CHECK(stage.TheTile().Text(5) == kTouchPrompt);
    SetEvent(leave.Get());
    stage.WaitForWorker();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A sink that selects the tile again from its prompt is served, with one watch")
{
    Stage stage;
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kKeyPresentPrompt); },
        [&] { CHECK_FALSE(stage.TheTile().Select()); });
    stage.Select();
    CHECK(stage.threads.Started() == 2);
    CHECK(stage.TheTile().Events().Statuses() ==
          std::vector<std::wstring>{kKeyPresentPrompt, kKeyPresentPrompt});
}

TEST_CASE("A sink that deselects the tile from its prompt leaves a watch that ends at the farewell")
{
    Stage stage;
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kKeyPresentPrompt); },
        [&] { stage.TheTile().Deselect(); });
    stage.TheTile().Select();
    const std::size_t watch = stage.threads.Started() - 1;
    CHECK_FALSE(stage.threads.HasEnded(watch));
    stage.TheTile().UnAdvise();
    CHECK(stage.threads.HasEnded(watch));
}

TEST_CASE("A sink that unadvises the tile from its prompt is not touched again")
{
    Stage stage;
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kKeyPresentPrompt); },
        [&] { CHECK(stage.TheTile().UnAdvise() == S_OK); });
    stage.Select();
    CHECK(stage.TheTile().Events().References() == 1);
    stage.TheTile().Events().Forget();
    stage.key.SetPresent(false);
    stage.Poll();
    stage.key.SetPresent(true);
    stage.Poll();
    stage.Deselect();
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A sink that submits from its prompt gets its sign-in")
{
    Stage stage;
    CHECK(stage.TheTile().Type(Stage::kWidePin) == S_OK);
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kKeyPresentPrompt); },
        [&] { CHECK(stage.TheTile().Click().IsEmpty()); });
    stage.Select();
    REQUIRE(stage.Sink()->WaitForChange());
    CHECK(stage.key.Taps().at(0).pinRight);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A sink that deselects the tile from the watch's own thread ends that watch")
{
    for (const bool unadvises : {false, true}) {
        CAPTURE(unadvises);
        Stage stage;
        stage.Select();
        stage.Poll();
        const std::size_t watch = stage.threads.Started() - 1;
        std::vector<UniqueKernelObject> successors;  // of the watch's handles, by their numbers
        CallBackOnce(
            stage.TheTile().Events(),
            [](const FieldCall& call) { return SetsStatus(call, kNoKeyPrompt); },
            [&] {
                if (unadvises) {
                    CHECK(stage.TheTile().UnAdvise() == S_OK);
                } else {
                    stage.TheTile().Deselect();
                }
                for (int count = 0; count < 8; ++count) {
                    successors.emplace_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
                }
            });
        stage.key.SetPresent(false);
        REQUIRE(stage.clock.EndWait(500));
        REQUIRE(stage.threads.Join(watch));
        stage.TheTile().Advise();
        stage.TheTile().Select();
        CHECK(stage.threads.Started() == watch + 2 + (unadvises ? 0 : 1));
    }
}

TEST_CASE("A sink that submits from the watch's own thread gets its sign-in")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.TypePin();
    stage.Poll();
    CallBackOnce(
        stage.TheTile().Events(),
        [](const FieldCall& call) { return SetsStatus(call, kKeyPresentPrompt); },
        [&] { CHECK(stage.TheTile().Click().IsEmpty()); });
    stage.key.SetPresent(true);
    REQUIRE(stage.clock.EndWait(500));
    REQUIRE(stage.Sink()->WaitForChange());
    CHECK(stage.key.Taps().at(0).pinRight);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A host that never collects and never deselects may go all the same")
{
    Stage stage;
    stage.SignIn();
    for (int turn = 0; turn < 3; ++turn) {
        CHECK(stage.AskTileCount().autoLogon);
        CHECK(stage.TheTile().Select());
    }
    stage.LetTilesGo();
    stage.LetProviderGo();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
    CHECK(stage.service.Count("disarm") == 0);
}

TEST_CASE("Five hundred selections leave no thread and no handle behind")
{
    Stage stage;
    stage.Select();
    stage.Deselect();
    REQUIRE(stage.threads.JoinFrom(0));
    const std::size_t threads = stage.threads.Started();
    const std::size_t handles = OpenHandles();
    for (int turn = 0; turn < 500; ++turn) {
        stage.Select();
        stage.Deselect();
    }
    REQUIRE(stage.threads.JoinFrom(0));
    const std::size_t started = stage.threads.Started() - threads;
    CHECK(started == 1000);
    // The test itself keeps one handle of each thread that was started.
    CHECK(OpenHandles() - started == handles);
}

TEST_CASE("Five hundred selections without a deselection have one watch and one probe")
{
    Stage stage;
    for (int turn = 0; turn < 500; ++turn) {
        stage.Select();
    }
    CHECK(stage.threads.Started() == 2);
    CHECK(stage.directory.Calls().Count("DsGetDcNameW") == 1);
}

TEST_CASE("A hundred clicks while the worker runs start nothing")
{
    TouchAwaited stage;
    const std::vector<std::size_t> before = Traces(stage);
    for (int turn = 0; turn < 100; ++turn) {
        CHECK(stage.TheTile().Click().IsEmpty());
    }
    CHECK(Traces(stage) == before);
    stage.TouchAndWait();
    CHECK(stage.AskTileCount().autoLogon);
}
