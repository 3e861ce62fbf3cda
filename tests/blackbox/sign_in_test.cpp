#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::Answer;
using kelvor::test::kOtherAccount;
using kelvor::test::kTouchPrompt;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

TEST_CASE("A domain user signs in and LogonUI collects a Kerberos certificate logon")
{
    Stage stage;
    stage.SignIn();
    const Answer answer = stage.Collect();
    CHECK(answer.result == S_OK);
    CHECK(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    CHECK(answer.package == stage.lsa.Package());
    CHECK(answer.provider ==
          CLSID{0xC48FBE3D, 0xB4E8, 0x4597, {0x97, 0xA8, 0x79, 0xFD, 0x7D, 0x8D, 0xEF, 0xCF}});
    CHECK(answer.buffer.size() == 366);
    CHECK(answer.buffer.at(0) == 13);
}

TEST_CASE("A sign-in asks the card service in its order, once each")
{
    Stage stage;
    stage.SignInWhole();
    CHECK(stage.service.Commands() ==
          std::vector<std::string>{"provchallenge", "filteraccounts", "armorprovision", "disarm"});
}

TEST_CASE("A sign-in on a user's own tile shows its progress step by step")
{
    Stage stage;
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.SignIn();
    CHECK(stage.TheTile().Events().Statuses() ==
          std::vector<std::wstring>{L"Signing in with your security key…", kTouchPrompt,
                                    L"Signing in…", L"Signing in…"});
}

TEST_CASE("The click comes back at once, unfinished and empty")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    CHECK(stage.Click().IsEmpty());
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: sign-in started on a worker; returning NOT_FINISHED so "
                        "the tile stays on screen and its progress is visible."));
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("The click stops the key watch before the worker starts")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    const std::size_t watch = stage.threads.Started() - 1;
    stage.Click();
    CHECK(stage.threads.HasEnded(watch));
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("A second click while the worker runs starts nothing and hands back nothing")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    const std::size_t threads = stage.threads.Started();
    CHECK(stage.TheTile().Click().IsEmpty());
    CHECK(stage.threads.Started() == threads);
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: a sign-in is already running -- nothing to hand back "
                        "yet."));
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("A finished worker tells LogonUI once, with the context LogonUI gave")
{
    Stage stage;
    stage.SignIn();
    const auto changes = stage.Sink()->Changes();
    REQUIRE(changes.size() == 1);
    CHECK(changes[0].context == Stage::kAdviseContext);
    CHECK(changes[0].threadId == stage.threads.IdOf(stage.threads.Started() - 1));
    CHECK(stage.log.Has("INFO",
                        "async submit: credential ready (366 bytes) -- asking LogonUI to collect "
                        "it."));
}

TEST_CASE("A failed worker does not tell LogonUI")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    CHECK(stage.Sink()->Changes().empty());
    CHECK(stage.log.Has("INFO",
                        "async submit: no credential produced (hr=0x00000000) -- the reason is on "
                        "the tile and the user can submit again."));
}

TEST_CASE("A failed worker leaves nothing to collect")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}

TEST_CASE("A sign-in succeeds after one that failed")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.key.SetBeginCode(0);
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("The credential is handed over once")
{
    Stage stage;
    stage.SignIn();
    stage.Collect();
    CHECK(stage.log.Count("INFO",
                          "GetSerialization: handing over the credential the worker built (366 "
                          "bytes, AP 1, hr=0x00000000).") == 1);
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}

TEST_CASE("A parked credential that nobody collects is given back with its tile")
{
    Stage stage;
    stage.SignIn();
    stage.Close();
    CHECK(stage.Module().CanUnloadNow() == S_OK);
}

TEST_CASE("The flow begins and ends with its lines in the log")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.log.Has("INFO", "GetSerialization: enter user='CORP\\alice' otherUser=0"));
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: server resolved the tapped key to "
                        "'alice@corp.example'."));
    CHECK(
        stage.log.Has("INFO",
                      "GetSerialization: returning KERB_CERTIFICATE_LOGON (366 bytes) -> Kerberos "
                      "AP 1 (primary TGT, no injection)"));
}

TEST_CASE("The flow runs on the worker, not on LogonUI's thread")
{
    Stage stage;
    stage.SignIn();
    const DWORD worker = stage.threads.IdOf(stage.threads.Started() - 1);
    CHECK(stage.log.ThreadOf("INFO", "GetSerialization: enter user='CORP\\alice' otherUser=0") ==
          worker);
    CHECK(stage.key.Taps().at(0).threadId == worker);
}

// --- Switched off

TEST_CASE("Without the Enabled setting the sign-in is refused before the card service is asked")
{
    Stage stage;
    stage.settings.Remove(L"Enabled");
    stage.SignIn();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: SmartCard\\Enabled=0 - the VSC domain path is switched "
                        "off."));
    CHECK(stage.service.Commands().empty());
}

TEST_CASE("Without the settings key the sign-in is switched off")
{
    Stage stage;
    stage.settings.RemoveKey();
    stage.SignIn();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
}

TEST_CASE("Enabled stored as a text counts as off")
{
    Stage stage;
    stage.settings.SetString(L"Enabled", L"1");
    stage.SignIn();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
}

TEST_CASE("Enabled is read afresh at each sign-in")
{
    Stage stage;
    stage.settings.SetDword(L"Enabled", 0);
    stage.SignIn();
    stage.settings.SetDword(L"Enabled", 1);
    stage.SignIn();
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("An error about a switched-off sign-in survives a reselection")
{
    Stage stage;
    stage.settings.Remove(L"Enabled");
    stage.SignIn();
    stage.Select();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
}

// --- The domain controller and the tile's account

TEST_CASE("A sign-in without a reachable domain controller is warned about and goes on")
{
    Stage stage;
    stage.directory.SetLocatorFailure(1355);
    stage.Select();
    stage.WaitForProbe();
    stage.clock.Advance(1234);
    stage.SignIn();
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: starting a sign-in although no domain controller could "
                        "be located 1234 ms ago (DsGetDcName failed (1355)) - expect LSA to "
                        "refuse."));
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("A sign-in with a domain controller is not warned about")
{
    Stage stage;
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(stage.log.Messages("WARN").empty());
}

TEST_CASE("A key of another account is refused although the card was armed")
{
    Stage stage;
    stage.PutCardOf("bob@corp.example");
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(stage.Status() == kOtherAccount);
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: tile is 'CORP\\alice' but the tapped key resolved to "
                        "'bob@corp.example' - refusing."));
    CHECK_FALSE(stage.AskTileCount().autoLogon);
}

TEST_CASE("While the directory has not answered the tile is compared by leaf name")
{
    Stage stage;
    stage.directory.Hold();
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the directory has not answered yet - comparing the tile "
                        "by leaf name instead of waiting for it."));
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("Leaf names that differ only in their letters' case match")
{
    Stage stage;
    stage.directory.Hold();
    stage.PutCardOf("ALICE@other.example");
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("Leaf names that differ in length do not match")
{
    Stage stage;
    stage.directory.Hold();
    stage.PutCardOf("alicex@corp.example");
    stage.SignIn();
    CHECK(stage.Status() == kOtherAccount);
}

TEST_CASE("A leaf name is what follows the last backslash of the tile's name")
{
    StageOptions options;
    options.users[0].qualifiedName = L"CORP\\dept\\alice";
    Stage stage(options);
    stage.directory.Hold();
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("The directory's name for the tile is compared with the key's as a whole")
{
    Stage stage;
    stage.directory.SetUpn(L"alice@west.example");
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(stage.Status() == kOtherAccount);
}

TEST_CASE("The directory's name decides although the leaf names differ")
{
    Stage stage;
    stage.directory.SetUpn(L"a.smith@corp.example");
    stage.PutCardOf("A.Smith@corp.example");
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A directory that knows no name for the tile leaves the leaf names to decide")
{
    Stage stage;
    stage.directory.SetUpn(std::nullopt);
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
    CHECK_FALSE(stage.log.HasBeginning("INFO", "GetSerialization: the directory has not answered"));
}

TEST_CASE("A tile without a user part cannot be compared and is allowed")
{
    StageOptions options;
    options.users[0].qualifiedName = L"CORP\\";
    Stage stage(options);
    stage.directory.Hold();
    stage.SignIn();
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: could not compare tile 'CORP\\' to resolved "
                        "'alice@corp.example' - allowing."));
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("After a refused account the tile signs in with the right key")
{
    Stage stage;
    stage.PutCardOf("bob@corp.example");
    stage.SignIn();
    stage.PutCardOf("alice@corp.example");
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

// --- The build's refusals reach the tile

TEST_CASE("A failed build is shown behind its prefix and noted")
{
    Stage stage;
    stage.reader.SetReaders({});
    stage.SignIn();
    CHECK(stage.Status() ==
          L"Sign-in failed: the sign-in card is not ready — wait a moment and try again; if it "
          L"keeps happening, restart this PC");
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: BuildCertificateLogon failed hr=0x80070458 (the sign-in "
                        "card is not ready — wait a moment and try again; if it keeps happening, "
                        "restart this PC)"));
}

TEST_CASE("A refused challenge shows the service's own words")
{
    Stage stage;
    stage.service.Answers("provchallenge", R"({"ok":false,"error":"no licence"})");
    stage.SignIn();
    CHECK(stage.Status() == L"Sign-in failed: no licence");
    CHECK(stage.log.Has("WARN", "softcardctl: provchallenge refused (no licence)"));
}
