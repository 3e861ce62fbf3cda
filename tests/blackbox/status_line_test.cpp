#include <algorithm>
#include <atomic>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::Answer;
using kelvor::test::CredentialEvents;
using kelvor::test::FakeCredential;
using kelvor::test::FieldCall;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const wchar_t* kKeyPresent =
    L"Enter your security key PIN, then click Sign In and touch your key when it flashes.";
constexpr const char* kKeyPresentUtf8 =
    "Enter your security key PIN, then click Sign In and touch your key when it flashes.";

StageOptions WithoutProviderSink()
{
    StageOptions options;
    options.advisesProvider = false;
    return options;
}

StageOptions WithoutTileSinks()
{
    StageOptions options;
    options.advisesTiles = false;
    return options;
}

std::vector<DWORD> ThreadsOf(const std::vector<FieldCall>& calls)
{
    std::vector<DWORD> ids;
    for (const FieldCall& call : calls) {
        ids.push_back(call.threadId);
    }
    return ids;
}

}  // namespace

TEST_CASE("A status line is shown and noted with the sink's answer")
{
    Stage stage;
    stage.Select();
    CHECK(stage.Status() == kKeyPresent);
    CHECK(stage.log.Has(
        "INFO", "status -> '" + std::string(kKeyPresentUtf8) + "' (SetFieldString hr=0x00000000)"));
}

TEST_CASE("A status line that LogonUI refuses is noted with its reason")
{
    Stage stage;
    stage.TheTile().Events().Fail("SetFieldString", E_ACCESSDENIED);
    stage.Select();
    CHECK(stage.log.Has(
        "INFO", "status -> '" + std::string(kKeyPresentUtf8) + "' (SetFieldString hr=0x80070005)"));
}

TEST_CASE("Without a sink the status line is kept and the loss is noted")
{
    Stage stage(WithoutTileSinks());
    stage.Select();
    CHECK(stage.TheTile().Text(5) == kKeyPresent);
    CHECK(stage.log.Has("WARN", "status -> '" + std::string(kKeyPresentUtf8) +
                                    "' DROPPED: no credential-events object (not advised)."));
}

TEST_CASE("A sink of the old kind is refused and not kept")
{
    Stage stage(WithoutTileSinks());
    stage.TheTile().Events().SetOld(true);
    CHECK(stage.TheTile().Advise() == E_NOINTERFACE);
    CHECK(stage.TheTile().Events().References() == 1);
}

TEST_CASE("Advising again lets go of the sink from before")
{
    Stage stage;
    const auto second = CredentialEvents::Make();
    CHECK(stage.TheTile()->Advise(second.Get()) == S_OK);
    CHECK(stage.TheTile().Events().References() == 1);
    stage.Select();
    CHECK(second->Text(5) == kKeyPresent);
    stage.TheTile().UnAdvise();
    CHECK(second->References() == 1);
}

TEST_CASE("Unadvising lets go of the sink")
{
    Stage stage;
    stage.TheTile().UnAdvise();
    CHECK(stage.TheTile().Events().References() == 1);
}

TEST_CASE("Unadvising stops the key watch")
{
    Stage stage;
    stage.Select();
    stage.TheTile().UnAdvise();
    CHECK(stage.threads.HasEnded(stage.threads.Started() - 1));
}

TEST_CASE("The worker shows its progress itself")
{
    Stage stage;
    stage.SignIn();
    const std::vector<FieldCall> calls = stage.TheTile().Events().Calls("SetFieldString", 5);
    CHECK(calls.back().threadId == stage.threads.IdOf(stage.threads.Started() - 1));
}

TEST_CASE("In the blocking way every call into LogonUI comes on its own thread")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.Click();
    const std::vector<DWORD> threads = ThreadsOf(stage.TheTile().Events().Calls());
    CHECK_FALSE(threads.empty());
    CHECK(static_cast<std::size_t>(std::ranges::count(threads, GetCurrentThreadId())) ==
          threads.size());
}

TEST_CASE("In the blocking way the last status of the sign-in thread reaches the screen")
{
    Stage stage(WithoutProviderSink());
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    stage.Click();
    CHECK(stage.Status() ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
}

TEST_CASE("In the blocking way a refusal comes with its text and icon")
{
    Stage stage(WithoutProviderSink());
    stage.key.SetBeginCode(0x31);
    stage.TypePin();
    const Answer answer = stage.Click();
    CHECK(answer.result == S_OK);
    CHECK(answer.response == CPGSR_NO_CREDENTIAL_NOT_FINISHED);
    CHECK(answer.statusText ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
    CHECK(answer.statusIcon == CPSI_ERROR);
}

TEST_CASE("In the blocking way a success comes without a text")
{
    Stage stage(WithoutProviderSink());
    stage.TypePin();
    const Answer answer = stage.Click();
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK_FALSE(answer.statusText);
}

TEST_CASE("The optional text is withheld while the account picker is up")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    FakeCredential bob;
    bob.userName = "CORP\\bob";
    bob.id = {0xB0};
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.TypePin();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    const Answer answer = stage.Click();
    CHECK_FALSE(answer.statusText);
    CHECK(stage.log.Has("INFO",
                        "optional status text withheld: the picker is up, so the prompt stays on "
                        "the tile."));
}

namespace {

struct Probe {
    ICredentialProviderCredential* tile;
    bool answered;
};

DWORD WINAPI ReadStatus(void* parameter)
{
    auto& probe = *static_cast<Probe*>(parameter);
    LPWSTR text = nullptr;
    probe.answered = SUCCEEDED(probe.tile->GetStringValue(5, &text));
    CoTaskMemFree(text);
    return 0;
}

// Whether another thread gets through the tile's lock now.
bool IsLockFree(ICredentialProviderCredential* tile)
{
    Probe probe = {tile, false};
    const HANDLE thread = CreateThread(nullptr, 0, &ReadStatus, &probe, 0, nullptr);
    const bool ended = WaitForSingleObject(thread, 5000) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return ended && probe.answered;
}

}  // namespace

TEST_CASE("The tile's lock is free whenever LogonUI is called")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    FakeCredential bob;
    bob.id = {0xB0};
    stage.key.SetCredentials({FakeCredential{}, bob});
    std::atomic<int> locked{0};
    ICredentialProviderCredential* tile = stage.TheTile().Get();
    stage.TheTile().Events().SetOnCall(
        [&](const FieldCall&) { locked += IsLockFree(tile) ? 0 : 1; });
    stage.SignIn();
    stage.TheTile().SelectAccount(1);
    stage.SignIn();
    stage.Collect();
    stage.Report(static_cast<LONG>(0xC0000064));
    stage.Deselect();
    CHECK(locked == 0);
    stage.TheTile().Events().SetOnCall({});
}
