// Whole courses of events as the log tells them, line by line and thread by thread.
#include <string>
#include <vector>

#include "call_order.h"
#include "support/readable_failures.h"

using namespace kelvor::test;

namespace {

using Lines = std::vector<std::string>;

// What one thread has logged so far, levels included.
Lines LinesOf(const Stage& stage, DWORD threadId)
{
    Lines lines;
    for (const LogLine& line : stage.log.Lines()) {
        if (line.threadId == threadId) {
            lines.push_back(line.level + " " + line.message);
        }
    }
    return lines;
}

Lines LogonUiLines(const Stage& stage)
{
    return LinesOf(stage, GetCurrentThreadId());
}

// What the thread that was started last has logged.
Lines LastThreadLines(const Stage& stage)
{
    return LinesOf(stage, stage.threads.IdOf(stage.threads.Started() - 1));
}

std::string Shown(const std::string& text)
{
    return "INFO status -> '" + text + "' (SetFieldString hr=0x00000000)";
}

const std::string kStarted =
    "INFO GetSerialization: sign-in started on a worker; returning NOT_FINISHED so the tile stays "
    "on screen and its progress is visible.";
const std::string kSigningInWithKey = Shown("Signing in with your security key…");
const std::string kTouch = Shown("Touch your security key now — it should be flashing.");
const std::string kSigningIn = Shown("Signing in…");
const std::string kChallenge =
    "INFO softcardctl: enrollment challenge relayed (rpId='corp.example'); the tap signs the bound "
    "challenge, not the nonce.";
const std::string kFirstStatement =
    "INFO fidopin(begin): statement 0 cred=A1B2C3D4 hmac-fp=872BD6FA0184E20E";
const std::string kEmptyPin =
    "INFO sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses an empty PIN.";
const std::string kNotProduced =
    "INFO async submit: no credential produced (hr=0x00000000) -- the reason is on the tile and "
    "the user can submit again.";

std::string Armed(const std::string& by, const std::string& upn)
{
    return "INFO " + by + " (upn='" + upn + "', cardSwapped=0, didProvision=0).";
}

std::string CardOf(const std::string& container)
{
    return "INFO sclogon: reader='Kelvor Virtual Smart Card Reader 0' card='Kelvor Card' "
           "container='" +
           container + "' csp='Microsoft Base Smart Card Crypto Provider'";
}

std::string SameAccount(const std::string& upn)
{
    return "INFO sclogon: pre-flight OK - the tapped key and the card cert are both '" + upn + "'.";
}

const std::string kBuiltForAlice =
    "INFO sclogon: built KERB_CERTIFICATE_LOGON (366 bytes, domOff=72 userOff=98 pinOff=110 "
    "cspOff=112) for 'corp.example\\alice' -> AP 1";
const std::string kBuiltForBob =
    "INFO sclogon: built KERB_CERTIFICATE_LOGON (358 bytes, domOff=72 userOff=98 pinOff=106 "
    "cspOff=108) for 'corp.example\\bob' -> AP 1";

std::string Returned(const std::string& sizeBytes)
{
    return "INFO GetSerialization: returning KERB_CERTIFICATE_LOGON (" + sizeBytes +
           " bytes) -> Kerberos AP 1 (primary TGT, no injection)";
}

std::string Ready(const std::string& sizeBytes)
{
    return "INFO async submit: credential ready (" + sizeBytes +
           " bytes) -- asking LogonUI to collect it.";
}

std::string HandedOver(const std::string& sizeBytes)
{
    return "INFO GetSerialization: handing over the credential the worker built (" + sizeBytes +
           " bytes, AP 1, hr=0x00000000).";
}

}  // namespace

TEST_CASE("The opening of the logon screen, line by line")
{
    StageOptions options;
    options.users = {User{}, User{.qualifiedName = L"WS01\\admin"}};
    Stage stage(options);
    stage.Open();
    const std::string laidOut =
        "INFO GetFieldState(SFI_STATUS_TEXT): LogonUI is laying the status line out (cpfs=1).";
    const std::string read =
        "INFO GetStringValue(SFI_STATUS_TEXT): LogonUI read the status line (hr=0x00000000).";
    CHECK(LogonUiLines(stage) ==
          Lines{
              "INFO SetUsageScenario: cpus=1",
              "INFO SetUserArray: 2 user(s) supplied -- re-enumerating tiles.",
              "INFO Advise: provider event sink installed (0 existing tile(s) updated).",
              "INFO _EnumerateCredentials: user array has 2 entr(ies) (GetCount hr=0x00000000)",
              "INFO _EnumerateCredentials: user[0] 'CORP\\alice' "
              "provider={60B78E88-EAD8-445C-...} localProvider=0",
              "INFO Initialize: AD tile user='CORP\\alice' hr=0x00000000",
              "INFO _EnumerateCredentials: user[1] 'WS01\\admin' "
              "provider={60B78E88-EAD8-445C-...} localProvider=0",
              "INFO IsAdDomainUser: skipping unsupported account (domain 'WS01'; this PC is "
              "'WS01')",
              "INFO _EnumerateCredentials: added Other-user tile",
              "INFO _EnumerateCredentials: cpus=1 adTiles=1 skippedNonAd=1 totalTiles=2 "
              "hr=0x00000000",
              "INFO GetCredentialCount: count=2 default=-1 autoLogon=0",
              "INFO GetCredentialAt: index=0 of 2 hr=0x00000000",
              "INFO GetCredentialAt: index=1 of 2 hr=0x00000000",
              laidOut,
              read,
              laidOut,
              read,
          });
    CHECK(LogonUiLines(stage).size() == stage.log.Lines().size());
}

TEST_CASE("A sign-in on a user's own tile, line by line: LogonUI's thread")
{
    Stage stage;
    stage.Open();
    stage.log.Forget();
    stage.SignInWhole();
    CHECK(LogonUiLines(stage) ==
          Lines{
              "INFO SetSelected: tile user='CORP\\alice' otherUser=0 autoLogon=0",
              Shown("Enter your security key PIN, then click Sign In and touch your key when it "
                    "flashes."),
              kStarted,
              "INFO GetCredentialCount: tile 0 finished its sign-in -- asking LogonUI to collect "
              "the credential (default=0 autoLogon=1).",
              "INFO GetCredentialCount: count=2 default=0 autoLogon=1",
              HandedOver("366"),
              "INFO ReportResult: ntsStatus=0x00000000 subStatus=0x00000000 (success)",
              "INFO softcardctl: disarm ok - the card can no longer sign (gate was open).",
          });
}

TEST_CASE("A sign-in on a user's own tile, line by line: the worker")
{
    Stage stage;
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    CHECK(LastThreadLines(stage) ==
          Lines{
              "INFO GetSerialization: enter user='CORP\\alice' otherUser=0",
              kSigningInWithKey,
              kTouch,
              "INFO sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=0, gate=1, "
              "authPin=1).",
              kChallenge,
              kFirstStatement,
              "INFO fidopin(begin): one tap yielded 1 usable account(s) on this key.",
              "INFO softcardctl: 1 of 1 credential(s) on this key can sign in here.",
              kSigningIn,
              Armed("softcardctl: card ARMED", "alice@corp.example"),
              Armed("fidopin(complete): card armed by live FIDO assertion", "alice@corp.example"),
              kEmptyPin,
              CardOf("alice-container"),
              SameAccount("alice@corp.example"),
              kBuiltForAlice,
              "INFO GetSerialization: server resolved the tapped key to 'alice@corp.example'.",
              Returned("366"),
              kSigningIn,
              Ready("366"),
          });
}

TEST_CASE("A tap that finds two accounts, line by line")
{
    ChoiceAwaited stage;
    CHECK(LastThreadLines(stage) ==
          Lines{
              "INFO GetSerialization: enter user='(none-typed)' otherUser=1",
              kSigningInWithKey,
              kTouch,
              kChallenge,
              kFirstStatement,
              "INFO fidopin(begin): statement 1 cred=B0B1 hmac-fp=9D4DABDC272D8C6B",
              "INFO fidopin(begin): one tap yielded 2 usable account(s) on this key.",
              "INFO softcardctl: 2 of 2 credential(s) on this key can sign in here.",
              "INFO account picker: combo state -> 1 with 2 row(s) (SetFieldState hr=0x00000000)",
              "INFO account picker: the tapped key holds 2 accounts - asking the user which one.",
              Shown("This security key is set up for more than one account. Choose which one to "
                    "sign in as, then click Sign In."),
              kNotProduced,
          });
}

TEST_CASE("A chosen account, line by line")
{
    ChoiceAwaited stage;
    stage.TheTile().SelectAccount(1);
    stage.PutCardOf("bob@corp.example");
    stage.Click();
    stage.WaitForWorker();
    CHECK(LastThreadLines(stage) ==
          Lines{
              "INFO GetSerialization: enter user='(none-typed)' otherUser=1",
              kSigningInWithKey,
              "INFO GetSerialization: submitting account row 1 from the earlier tap (no second "
              "touch).",
              kSigningIn,
              "INFO sclogon: BuildCertificateLogon begin (user='\\', preArmed=0, gate=1, "
              "authPin=0).",
              Armed("softcardctl: card ARMED", "bob@corp.example"),
              Armed("fidopin(complete): card armed by live FIDO assertion", "bob@corp.example"),
              kEmptyPin,
              CardOf("bob-container"),
              SameAccount("bob@corp.example"),
              kBuiltForBob,
              "INFO account picker: combo state -> 0 with 0 row(s) (SetFieldState hr=0x00000000)",
              Returned("358"),
              kSigningIn,
              Shown("Your security key is verified."),
              Ready("358"),
          });
}

TEST_CASE("An abandoned choice, line by line")
{
    ChoiceAwaited stage;
    stage.log.Forget();
    stage.Deselect();
    CHECK(LogonUiLines(stage) ==
          Lines{
              "INFO account picker: combo state -> 0 with 0 row(s) (SetFieldState hr=0x00000000)",
              "INFO account picker: the pending tap was abandoned - scrubbed it.",
              Shown(""),
          });
}

TEST_CASE("A provisioning, line by line")
{
    Stage stage;
    stage.settings.Remove(L"FidoGate");
    stage.service.Answers("status", R"({"ok":true,"provisioned":false})");
    stage.SignIn();
    CHECK(LastThreadLines(stage) ==
          Lines{
              "INFO GetSerialization: enter user='CORP\\alice' otherUser=0",
              kSigningInWithKey,
              "INFO softcardctl: status - provisioned=0 cardHidden=0.",
              "INFO GetSerialization: the card service reports provisioned=0 (card hiding off).",
              "INFO GetSerialization: the FIDO gate is off and this PC has no card profile - "
              "asking the service to provision one (it owns the tap on this path).",
              "INFO GetSerialization: JIT rpId='corp.example' (server base "
              "'https://signin.corp.example').",
              kTouch,
              "INFO softcardctl: card provisioned and FIDO-armed for 'alice@corp.example' (armed "
              "from that tap).",
              Shown("Finishing setup…"),
              kSigningInWithKey,
              kTouch,
              "INFO sclogon: BuildCertificateLogon begin (user='CORP\\alice', preArmed=1, gate=0, "
              "authPin=1).",
              "INFO sclogon: first-login -- card already armed by provisioning for "
              "'alice@corp.example' (no second tap).",
              CardOf("alice-container"),
              SameAccount("alice@corp.example"),
              kBuiltForAlice,
              "INFO GetSerialization: server resolved the tapped key to 'alice@corp.example'.",
              Returned("366"),
              kSigningIn,
              Ready("366"),
          });
}

TEST_CASE("A refused account, line by line from the buffer on")
{
    Stage stage;
    stage.PutCardOf("bob@corp.example");
    stage.Select();
    stage.WaitForProbe();
    stage.SignIn();
    const Lines all = LastThreadLines(stage);
    REQUIRE(all.size() > 5);
    CHECK(Lines(all.end() - 5, all.end()) ==
          Lines{
              kBuiltForBob,
              "INFO GetSerialization: server resolved the tapped key to 'bob@corp.example'.",
              "ERROR GetSerialization: tile is 'CORP\\alice' but the tapped key resolved to "
              "'bob@corp.example' - refusing.",
              Shown("That security key is enrolled to a different account. Use the \"Other user\" "
                    "tile, or the tile for the account the key belongs to."),
              kNotProduced,
          });
}

TEST_CASE("A result that comes too late, line by line")
{
    Collected stage;
    stage.clock.Advance(25'000);
    stage.log.Forget();
    stage.Report(static_cast<LONG>(0xC0000321));
    CHECK(LogonUiLines(stage) ==
          Lines{
              "WARN ReportResult: the card refused 25000 ms after the logon buffer was built - its "
              "arm window had long closed, so this is a timing failure, not a key failure.",
              "ERROR ReportResult: ntsStatus=0xC0000321 subStatus=0x00000000 "
              "(STATUS_SMARTCARD_SUBSYSTEM_FAILURE)",
              "INFO softcardctl: disarm ok - the card can no longer sign (gate was open).",
              Shown("Sign-in took too long and the security key's authorisation expired before the "
                    "domain answered. Check this PC's network or VPN connection, then tap your key "
                    "again."),
          });
}

TEST_CASE("LogonUI is told only after the log and the tile say that the credential is ready")
{
    Stage stage(OtherUserTile());
    stage.Open();
    std::wstring status;
    bool logged = false;
    stage.Sink()->SetOnChange([&] {
        status = stage.Status();
        logged = stage.log.Has(
            "INFO", "async submit: credential ready (366 bytes) -- asking LogonUI to collect it.");
    });
    stage.SignIn();
    CHECK(status == L"Your security key is verified.");
    CHECK(logged);
    stage.Sink()->SetOnChange({});
}
