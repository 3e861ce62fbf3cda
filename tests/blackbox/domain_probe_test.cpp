#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::FakeCredential;
using kelvor::test::kKeyPresentPrompt;
using kelvor::test::kNoKeyPrompt;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr const wchar_t* kStillWaiting =
    L"Contacting the domain… this is taking longer than usual. Check this PC's network or VPN "
    L"connection.";
constexpr const wchar_t* kSlow =
    L"The domain is answering slowly — signing in may take a while or time out. Check this PC's "
    L"network or VPN connection.";
constexpr const wchar_t* kUnreachable =
    L"This PC cannot reach the domain — check its network or VPN connection. Your security key is "
    L"fine, but signing in needs a domain controller.";

StageOptions OtherUser()
{
    StageOptions options;
    options.otherUser = true;
    return options;
}

// A selected tile whose directory took so long to answer.
struct Selected : Stage {
    explicit Selected(DWORD elapsedMs, StageOptions options = {}) : Stage(std::move(options))
    {
        directory.SetOnLocate([this, elapsedMs] { clock.Advance(elapsedMs); });
        Select();
        WaitForProbe();
    }
};

}  // namespace

TEST_CASE("A selection asks for a domain controller by its DNS name")
{
    Selected stage(0);
    const auto calls = stage.directory.Calls().Calls("DsGetDcNameW");
    REQUIRE(calls.size() == 1);
    CHECK(calls[0].argument == std::to_wstring(0x40000000));
    CHECK(calls[0].threadId != GetCurrentThreadId());
}

TEST_CASE("The tile's name is translated to a user principal name")
{
    Selected stage(0);
    const auto calls = stage.directory.Calls().Calls("TranslateNameW");
    REQUIRE(calls.size() == 1);
    CHECK(calls[0].argument == L"CORP\\alice|2|8");
}

TEST_CASE("A directory that answers at once is noted and leaves the prompt")
{
    Selected stage(120);
    stage.Poll();
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 120 ms; tile UPN "
                        "alice@corp.example."));
    CHECK(stage.Status() == kKeyPresentPrompt);
}

TEST_CASE("The outcome is reported by the key watch, not before")
{
    Selected stage(0);
    CHECK_FALSE(stage.log.HasBeginning("INFO", "domain probe:"));
}

TEST_CASE("An outcome is reported once")
{
    Selected stage(0);
    stage.Poll(4);
    CHECK(stage.log.Count("INFO",
                          "domain probe: domain controller located in 0 ms; tile UPN "
                          "alice@corp.example.") == 1);
}

TEST_CASE("The Other user tile only locates a domain controller")
{
    Selected stage(0, OtherUser());
    stage.Poll();
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 0 ms; tile UPN unresolved."));
    CHECK(stage.directory.Calls().Count("TranslateNameW") == 0);
}

TEST_CASE("A name that the directory cannot translate stays unresolved")
{
    Stage stage;
    stage.directory.SetUpn(std::nullopt);
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 0 ms; tile UPN unresolved."));
}

TEST_CASE("A name that is translated to nothing stays unresolved")
{
    Stage stage;
    stage.directory.SetUpn(L"");
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 0 ms; tile UPN unresolved."));
}

TEST_CASE("A name too long for its buffer stays unresolved")
{
    Stage stage;
    stage.directory.SetUpn(std::wstring(512, L'a'));
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.log.Has("INFO",
                        "domain probe: domain controller located in 0 ms; tile UPN unresolved."));
}

TEST_CASE("A domain that cannot be reached is warned about before the sign-in")
{
    Stage stage;
    stage.directory.SetLocatorFailure(1355);
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.Status() == kUnreachable);
    CHECK(stage.log.Has("WARN",
                        "domain probe: no domain controller could be located after 0 ms "
                        "(DsGetDcName failed (1355))."));
    CHECK(stage.directory.Calls().Count("TranslateNameW") == 0);
}

TEST_CASE("A domain that answers after seven seconds is called slow")
{
    Selected stage(7000);
    stage.Poll();
    CHECK(stage.Status() == kSlow);
    CHECK(stage.log.Has("WARN", "domain probe: the directory answered, but took 7000 ms."));
}

TEST_CASE("Six seconds exactly are slow")
{
    Selected stage(6000);
    stage.Poll();
    CHECK(stage.Status() == kSlow);
}

TEST_CASE("One millisecond less than six seconds is not slow")
{
    Selected stage(5999);
    stage.Poll();
    CHECK(stage.Status() == kKeyPresentPrompt);
}

TEST_CASE("A directory that is silent for six seconds is warned about once")
{
    Stage stage;
    stage.directory.Hold();
    stage.Select();
    REQUIRE(stage.directory.WaitUntilHeld(10'000));
    stage.Poll(11);
    CHECK(stage.Status() == kKeyPresentPrompt);
    stage.Poll();
    CHECK(stage.Status() == kStillWaiting);
    stage.Poll(3);
    CHECK(stage.log.Count("WARN",
                          "domain probe: still no answer from the directory after 6000 ms.") == 1);
    CHECK(stage.log.Messages("WARN").size() == 1);
}

TEST_CASE("A directory that answers after the warning is called slow instead")
{
    Stage stage;
    stage.directory.Hold();
    stage.Select();
    REQUIRE(stage.directory.WaitUntilHeld(10'000));
    stage.Poll(14);
    stage.directory.Release();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.Status() == kSlow);
    CHECK(stage.log.Has("WARN", "domain probe: the directory answered, but took 7000 ms."));
}

TEST_CASE("While an error of a sign-in is on screen no warning replaces it")
{
    Stage stage;
    stage.directory.SetLocatorFailure(1355);
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.Select();
    stage.Poll(2);
    CHECK(stage.Status() ==
          L"Sign-in failed: incorrect PIN — check your security key's PIN and try again");
}

TEST_CASE("A warning that was held back comes once the error has gone")
{
    Stage stage;
    stage.directory.SetLocatorFailure(1355);
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
    stage.Poll();
    CHECK(stage.Status() == kUnreachable);
}

TEST_CASE("While the account picker is up no warning replaces its prompt")
{
    Stage stage(OtherUser());
    stage.directory.SetLocatorFailure(1355);
    FakeCredential bob;
    bob.id = {0xB0};
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.SignIn();
    stage.Select();
    stage.Poll(2);
    CHECK(stage.Status() == L"Choose which account to sign in as, then click Sign In.");
}

TEST_CASE("Selecting again without a deselection keeps the probe")
{
    Selected stage(0);
    stage.Select();
    CHECK(stage.directory.Calls().Count("DsGetDcNameW") == 1);
}

TEST_CASE("A new selection after a deselection probes and reports afresh")
{
    Selected stage(0);
    stage.Poll();
    stage.Deselect();
    stage.Select();
    stage.WaitForProbe();
    stage.Poll();
    CHECK(stage.directory.Calls().Count("DsGetDcNameW") == 2);
    CHECK(stage.log.Count("INFO",
                          "domain probe: domain controller located in 0 ms; tile UPN "
                          "alice@corp.example.") == 2);
}

TEST_CASE("A probe without a thread is noted and the leaf names decide")
{
    Stage stage;
    stage.Open();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Select();
    CHECK(stage.log.Has("WARN",
                        "domain probe: CreateThread failed (8) - the sign-in falls back to "
                        "comparing leaf names."));
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the directory has not answered yet - comparing the tile "
                        "by leaf name instead of waiting for it."));
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("The domain controller's description is given back")
{
    Selected stage(0);
    CHECK(stage.directory.Calls().Count("NetApiBufferFree") == 1);
    CHECK(stage.directory.Outstanding() == 0);
}

TEST_CASE("A watch whose tile has no probe goes on watching the key")
{
    Stage stage;
    stage.Open();
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    CHECK(stage.Status() == kNoKeyPrompt);
}
