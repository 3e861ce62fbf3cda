#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::kTouchPrompt;
using kelvor::test::Reply;
using kelvor::test::Stage;

namespace {

// A PC whose gate is off and whose card service has no card profile yet.
struct FreshPc : Stage {
    FreshPc()
    {
        settings.Remove(L"FidoGate");
        service.Answers("status", R"({"ok":true,"provisioned":false})");
    }
};

}  // namespace

TEST_CASE("With the gate off the card service is asked whether the PC is set up")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.SignIn();
    CHECK(stage.service.Requests() == std::vector<std::string>{R"({"cmd":"status"})"});
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the card service reports provisioned=1 (card hiding "
                        "off)."));
}

TEST_CASE("A card service that hides its card says so")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Answers("status", R"({"ok":true,"provisioned":true,"cardHidden":true})");
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the card service reports provisioned=1 (card hiding "
                        "ON)."));
}

TEST_CASE("With the gate off and a provisioned PC no static PIN is used")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.SignIn();
    CHECK(stage.Status() ==
          L"Sign-in failed: this PC is not set up for security-key sign-in — contact IT");
    CHECK(stage.key.Taps().empty());
}

TEST_CASE("A fresh PC is provisioned and signs in from the same touch")
{
    FreshPc stage;
    stage.SignIn();
    CHECK(stage.service.Commands() == std::vector<std::string>{"status", "provision"});
    CHECK(stage.key.Taps().empty());
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: the FIDO gate is off and this PC has no card profile - "
                        "asking the service to provision one (it owns the tap on this path)."));
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Provisioning shows its progress step by step")
{
    FreshPc stage;
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.SignIn();
    CHECK(stage.TheTile().Events().Statuses() ==
          std::vector<std::wstring>{L"Signing in with your security key…", kTouchPrompt,
                                    L"Finishing setup…", L"Signing in with your security key…",
                                    kTouchPrompt, L"Signing in…"});
}

TEST_CASE("Provisioning sends the server, its relying party, the PIN and a trusted connection")
{
    FreshPc stage;
    stage.settings.SetDword(L"FidoDevInsecureTls", 1);
    stage.SignIn();
    CHECK(stage.service.LastRequest("provision") ==
          R"({"cmd":"provision","server":"https://signin.corp.example","rp":"corp.example",)"
          R"("authPin":"2468","insecureTls":false})");
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: JIT rpId='corp.example' (server base "
                        "'https://signin.corp.example')."));
}

TEST_CASE("Provisioning without a PIN leaves the member out")
{
    FreshPc stage;
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.service.LastRequest("provision").find("authPin") == std::string::npos);
}

TEST_CASE("Without a relying party setting the host of the server is taken")
{
    FreshPc stage;
    stage.settings.Remove(L"FidoRpId");
    stage.settings.SetString(L"FidoServerUrl", L"https://signin.corp.example:8443/base//");
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: JIT rpId='signin.corp.example' (server base "
                        "'https://signin.corp.example:8443/base')."));
}

TEST_CASE("A server without a scheme gives its host up to port or path")
{
    FreshPc stage;
    stage.settings.SetString(L"FidoRpId", L"");
    stage.settings.SetString(L"FidoServerUrl", L"signin/base");
    stage.SignIn();
    CHECK(
        stage.log.Has("INFO", "GetSerialization: JIT rpId='signin' (server base 'signin/base')."));
}

TEST_CASE("Without any server setting this PC itself is the server")
{
    FreshPc stage;
    stage.settings.Remove(L"FidoRpId");
    stage.settings.Remove(L"FidoServerUrl");
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: JIT rpId='localhost' (server base "
                        "'https://localhost')."));
}

TEST_CASE("A server made of slashes alone ends as an empty server with a local relying party")
{
    FreshPc stage;
    stage.settings.Remove(L"FidoRpId");
    stage.settings.SetString(L"FidoServerUrl", L"//");
    stage.SignIn();
    CHECK(stage.log.Has("INFO", "GetSerialization: JIT rpId='localhost' (server base '')."));
}

TEST_CASE("An expandable server setting is taken as it is written")
{
    FreshPc stage;
    stage.settings.SetString(L"FidoServerUrl", L"https://%COMPUTERNAME%.corp.example/",
                             REG_EXPAND_SZ);
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: JIT rpId='corp.example' (server base "
                        "'https://%COMPUTERNAME%.corp.example')."));
}

TEST_CASE("A refused provisioning shows the service's reason behind its prefix")
{
    FreshPc stage;
    stage.service.Answers("provision", R"({"ok":false,"error":"no licence left"})");
    stage.SignIn();
    CHECK(stage.Status() == L"Couldn't set up sign-in: no licence left");
    CHECK(stage.log.Has("ERROR",
                        "GetSerialization: JIT provisioning failed hr=0x80070005 (no licence "
                        "left)"));
}

TEST_CASE("After a refused provisioning the next click provisions")
{
    FreshPc stage;
    stage.service.AnswersOnce("provision", Reply::Line(R"({"ok":false})"));
    stage.SignIn();
    CHECK(stage.Status() == L"Couldn't set up sign-in: provisioning failed");
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("After provisioning the card is given time to settle")
{
    FreshPc stage;
    stage.SignIn();
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>{2000});
}

TEST_CASE("A provisioned card that never shows up is waited for and then reported")
{
    FreshPc stage;
    stage.reader.SetReaders({});
    stage.SignIn();
    std::vector<DWORD> wanted(40, 250);
    wanted.push_back(2000);
    CHECK(stage.clock.Sleeps() == wanted);
    CHECK(stage.Status() ==
          L"Sign-in failed: the sign-in card is not ready — wait a moment and try again; if it "
          L"keeps happening, restart this PC");
}

TEST_CASE("A provisioned card without a logon container yet is warned about")
{
    FreshPc stage;
    stage.csp.SetCertificates({});
    stage.SignIn();
    CHECK(stage.log.Has("WARN",
                        "GetSerialization: card present but no logon container yet after settle - "
                        "attempting the logon build anyway."));
    CHECK(stage.Status() ==
          L"Sign-in failed: this PC is not set up for your account yet — sign in with your "
          L"password once, or contact IT");
}

TEST_CASE("Provisioning for another account than the tile's is refused")
{
    FreshPc stage;
    stage.PutCardOf("bob@corp.example");
    stage.service.Answers("provision", R"({"ok":true,"upn":"bob@corp.example"})");
    stage.SignIn();
    CHECK(stage.Status() == kelvor::test::kOtherAccount);
}

TEST_CASE("The Other user tile of a fresh PC is provisioned without a tap of ours")
{
    kelvor::test::StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignIn();
    CHECK(stage.key.Taps().empty());
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("With the gate off the Other user tile of a provisioned PC does not tap either")
{
    kelvor::test::StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.settings.SetDword(L"FidoGate", 0);
    stage.SignIn();
    CHECK(stage.key.Taps().empty());
    CHECK(stage.service.Commands() == std::vector<std::string>{"status"});
    CHECK(stage.Status() ==
          L"Sign-in failed: this PC is not set up for security-key sign-in — contact IT");
}

TEST_CASE("A silent card service leaves the verdict to a reader that has a logon card")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Stop();
    stage.SignIn();
    CHECK(
        stage.log.Has("WARN",
                      "GetSerialization: could not ask the card service whether this PC is set up "
                      "(the card service is not running) - falling back to the reader probe, "
                      "which says 1."));
    CHECK(stage.service.Count("provision") == 0);
    CHECK(stage.Status() ==
          L"Sign-in failed: this PC is not set up for security-key sign-in — contact IT");
}

TEST_CASE("A silent card service and an empty reader lead to provisioning")
{
    Stage stage;
    stage.settings.SetDword(L"FidoGate", 0);
    stage.service.Answers("status", R"({"ok":false,"error":"starting"})");
    stage.reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0", std::nullopt}});
    stage.SignIn();
    CHECK(
        stage.log.Has("WARN",
                      "GetSerialization: could not ask the card service whether this PC is set up "
                      "(starting) - falling back to the reader probe, which says 0."));
    CHECK(stage.service.Count("provision") == 1);
}
