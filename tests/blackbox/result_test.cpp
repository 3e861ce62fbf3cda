#include <cstdio>

#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::TaskString;
using kelvor::test::FieldCall;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

constexpr LONG Status(unsigned long status)
{
    return static_cast<LONG>(status);
}

constexpr LONG kSubsystemFailure = Status(0xC0000321);
constexpr const wchar_t* kTookTooLong =
    L"Sign-in took too long and the security key's authorisation expired before the domain "
    L"answered. Check this PC's network or VPN connection, then tap your key again.";
constexpr const wchar_t* kWouldNotSign =
    L"Your security key was verified, but this PC's smart card would not sign. The key did not "
    L"unlock it — enter your security key PIN and try again.";

struct Row {
    unsigned long status;
    const char* name;
    const wchar_t* text;
};

constexpr Row kRows[] = {
    {0xC000005E, "STATUS_NO_LOGON_SERVERS",
     L"No domain controller could be reached. Check this PC's network connection and try again — "
     L"your security key is fine."},
    {0xC0000064, "STATUS_NO_SUCH_USER",
     L"The domain does not recognise the account this security key is enrolled to. Its "
     L"certificate could not be mapped to a user."},
    {0xC00000BB, "STATUS_NOT_SUPPORTED",
     L"The domain refused this sign-in. Your security key is not the problem — see the log, and "
     L"check that the domain controller has a KDC certificate."},
    {0xC0000190, "STATUS_TRUST_FAILURE",
     L"This PC's trust relationship with the domain has failed. Ask your administrator to rejoin "
     L"it."},
    {0xC00002FB, "STATUS_KDC_INVALID_REQUEST",
     L"The domain controller rejected the sign-in request. See the log for the status code."},
    {0xC0000320, "STATUS_PKINIT_FAILURE",
     L"The domain controller could not complete certificate sign-in. Its own KDC certificate is "
     L"usually the cause — ask your administrator to check it."},
    {0xC0000321, "STATUS_SMARTCARD_SUBSYSTEM_FAILURE", kWouldNotSign},
    {0xC0000322, "STATUS_NO_KERB_KEY",
     L"The domain could not find a Kerberos key for this account. Ask your administrator to check "
     L"the account's certificate mapping."},
    {0xC0000380, "STATUS_SMARTCARD_WRONG_PIN",
     L"The card refused the PIN. Enter your security key PIN and try again."},
    {0xC0000389, "STATUS_SMARTCARD_CERT_REVOKED",
     L"This PC's sign-in certificate has been revoked. Ask your administrator to re-enrol this "
     L"computer."},
    {0xC000038A, "STATUS_ISSUING_CA_UNTRUSTED",
     L"The authority that issued this PC's sign-in certificate is not trusted by the domain. Ask "
     L"your administrator to publish it to the NTAuth store."},
    {0xC000038B, "STATUS_REVOCATION_OFFLINE_C",
     L"The domain controller could not check whether this PC's sign-in certificate is revoked. It "
     L"is a network or CRL problem, not your key."},
    {0xC000038C, "STATUS_PKINIT_CLIENT_FAILURE",
     L"The domain controller does not trust this PC's sign-in certificate. Ask your administrator "
     L"to check that its issuing CA is trusted for smart-card logon."},
    {0xC000038D, "STATUS_SMARTCARD_CERT_EXPIRED",
     L"This PC's sign-in certificate has expired and must be renewed. Sign in another way once, or "
     L"ask your administrator."},
    {0xC000006D, "(unmapped)",
     L"Domain sign-in failed. See the log for the status code — it names the stage that refused."},
};

std::string ResultLine(unsigned long status, unsigned long substatus, const char* name)
{
    char line[128] = {};
    std::snprintf(line, sizeof line, "ReportResult: ntsStatus=0x%08lX subStatus=0x%08lX (%s)",
                  status, substatus, name);
    return line;
}

// A sign-in whose buffer LogonUI has, so that LSA's answer comes next.
struct HandedOver : Stage {
    HandedOver()
    {
        SignIn();
        Collect();
    }
};

}  // namespace

TEST_CASE("Every known status is explained by its text and named in the log")
{
    Stage stage;
    stage.Select();
    for (const Row& row : kRows) {
        CAPTURE(row.name);
        stage.Report(Status(row.status));
        CHECK(stage.Status() == row.text);
        CHECK(stage.log.Has("ERROR", ResultLine(row.status, 0, row.name)));
    }
}

TEST_CASE("The substatus is looked up before the status")
{
    Stage stage;
    stage.Report(Status(0xC000006D), Status(0xC0000064));
    CHECK(stage.Status() == kRows[1].text);
    CHECK(stage.log.Has("ERROR",
                        "ReportResult: ntsStatus=0xC000006D subStatus=0xC0000064 "
                        "(STATUS_NO_SUCH_USER)"));
}

TEST_CASE("A substatus that is known wins over a status that is known")
{
    Stage stage;
    stage.Report(Status(0xC000005E), Status(0xC0000380));
    CHECK(stage.Status() == kRows[8].text);
}

TEST_CASE("An unknown substatus leaves the status to explain")
{
    Stage stage;
    stage.Report(Status(0xC000005E), Status(0xC000006A));
    CHECK(stage.Status() == kRows[0].text);
}

TEST_CASE("A status whose severity bits differ is not the known one")
{
    Stage stage;
    stage.Report(Status(0x80000064));
    CHECK(stage.log.Has("ERROR", ResultLine(0x80000064, 0, "(unmapped)")));
}

TEST_CASE("A success is noted, disarms the card and changes nothing on the tile")
{
    HandedOver stage;
    stage.TheTile().Events().Forget();
    stage.Report(0, Status(0xC0000064));
    CHECK(
        stage.log.Has("INFO", "ReportResult: ntsStatus=0x00000000 subStatus=0xC0000064 (success)"));
    CHECK(stage.service.LastRequest("disarm") == R"({"cmd":"disarm"})");
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A failure disarms the card before it is shown")
{
    HandedOver stage;
    stage.Report(Status(0xC0000064));
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.log.Find("INFO",
                         "softcardctl: disarm ok - the card can no longer sign (gate was "
                         "open).") <
          stage.log.Find("INFO",
                         "status -> 'The domain does not recognise the account this "
                         "security key is enrolled to. Its certificate could not be mapped "
                         "to a user.' (SetFieldString hr=0x00000000)"));
}

TEST_CASE("A gate that was closed already is noted so")
{
    HandedOver stage;
    stage.service.Answers("disarm", R"({"ok":true,"wasArmed":false})");
    stage.Report(0);
    CHECK(stage.log.Has("INFO",
                        "softcardctl: disarm ok - the card can no longer sign (gate was "
                        "already closed)."));
}

TEST_CASE("A refused disarm is noted and changes nothing else")
{
    HandedOver stage;
    stage.service.Answers("disarm", R"({"ok":false})");
    stage.Report(Status(0xC0000064));
    CHECK(stage.log.Has("WARN",
                        "softcardctl: disarm refused (the card service refused to disarm) - an "
                        "out-of-date service? The sign gate will close on its own timeout."));
    CHECK(stage.Status() == kRows[1].text);
}

TEST_CASE("A disarm that does not reach the card service is noted and changes nothing else")
{
    HandedOver stage;
    stage.service.Stop();
    stage.Report(Status(0xC0000064));
    CHECK(
        stage.log.Has("WARN",
                      "softcardctl: disarm did not reach the card service (the card service is "
                      "not running) - the sign gate will close on its own idle timeout instead."));
    CHECK(stage.Status() == kRows[1].text);
}

TEST_CASE("A failure empties the PIN and offers it again")
{
    HandedOver stage;
    stage.key.SetPresent(false);
    stage.TheTile().Events().Forget();
    stage.Report(Status(0xC0000064));
    const std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    REQUIRE(calls.size() == 6);
    CHECK(calls[0] == FieldCall{"SetFieldString", 5, 0, kRows[1].text, 0});
    CHECK(calls[1] == FieldCall{"SetFieldString", 2, 0, L"", 0});
    CHECK(calls[2] == FieldCall{"SetFieldState", 2, 1, {}, 0});
    CHECK(calls[3] == FieldCall{"SetFieldState", 6, 0, {}, 0});
    CHECK(calls[4] == FieldCall{"SetFieldState", 4, 1, {}, 0});
    CHECK(calls[5] == FieldCall{"SetFieldSubmitButton", 4, 2, {}, 0});
}

TEST_CASE("A result is reported on LogonUI's own thread")
{
    HandedOver stage;
    stage.TheTile().Events().Forget();
    stage.Report(Status(0xC0000064));
    CHECK(stage.TheTile().Events().Calls().at(0).threadId == GetCurrentThreadId());
}

TEST_CASE("After a failed result the tile signs in again")
{
    HandedOver stage;
    stage.Report(Status(0xC0000064));
    stage.SignIn();
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A card that refuses long after the handover refused for the time's sake")
{
    HandedOver stage;
    stage.clock.Advance(25'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kTookTooLong);
    CHECK(
        stage.log.Has("WARN",
                      "ReportResult: the card refused 25000 ms after the logon buffer was built - "
                      "its arm window had long closed, so this is a timing failure, not a key "
                      "failure."));
    CHECK(stage.log.Has("ERROR", ResultLine(0xC0000321, 0, "STATUS_SMARTCARD_SUBSYSTEM_FAILURE")));
}

TEST_CASE("A card that refuses soon after the handover refused for the key's sake")
{
    HandedOver stage;
    stage.clock.Advance(5'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kWouldNotSign);
    CHECK(stage.log.Messages("WARN").empty());
}

TEST_CASE("Twenty seconds are the beginning of too long")
{
    HandedOver stage;
    stage.clock.Advance(20'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kTookTooLong);
}

TEST_CASE("One millisecond less than twenty seconds is not too long")
{
    HandedOver stage;
    stage.clock.Advance(19'999);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kWouldNotSign);
}

TEST_CASE("A substatus of a refusing card counts for the timing too")
{
    HandedOver stage;
    stage.clock.Advance(25'000);
    stage.Report(Status(0xC000006D), kSubsystemFailure);
    CHECK(stage.Status() == kTookTooLong);
}

TEST_CASE("A late refusal of another kind keeps its own text")
{
    HandedOver stage;
    stage.clock.Advance(25'000);
    stage.Report(Status(0xC0000064));
    CHECK(stage.Status() == kRows[1].text);
}

TEST_CASE("A late success is not a timing failure")
{
    HandedOver stage;
    stage.clock.Advance(25'000);
    stage.Report(0, kSubsystemFailure);
    CHECK(stage.log.Messages("WARN").empty());
}

TEST_CASE("A result without a handover before it is never a timing failure")
{
    Stage stage;
    stage.Select();
    stage.clock.Advance(25'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kWouldNotSign);
}

TEST_CASE("A failed sign-in takes the handover of the one before away")
{
    HandedOver stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    stage.clock.Advance(25'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kWouldNotSign);
}

TEST_CASE("The time since the handover is right across the tick count's turn to zero")
{
    Stage stage;
    stage.clock.Set(0xFFFF'F000);
    stage.SignIn();
    stage.Collect();
    stage.clock.Advance(21'000);
    stage.Report(kSubsystemFailure);
    CHECK(
        stage.log.Has("WARN",
                      "ReportResult: the card refused 21000 ms after the logon buffer was built - "
                      "its arm window had long closed, so this is a timing failure, not a key "
                      "failure."));
}

TEST_CASE("Collecting late does not move the handover")
{
    Stage stage;
    stage.SignIn();
    stage.clock.Advance(15'000);
    stage.Collect();
    stage.clock.Advance(10'000);
    stage.Report(kSubsystemFailure);
    CHECK(stage.Status() == kTookTooLong);
}

TEST_CASE("A user's tile names its SID")
{
    Stage stage;
    kelvor::ComRef<ICredentialProviderCredential2> tile;
    REQUIRE(stage.TheTile()->QueryInterface(IID_ICredentialProviderCredential2,
                                            reinterpret_cast<void**>(tile.Receive())) == S_OK);
    TaskString sid;
    CHECK(tile->GetUserSid(sid.Receive()) == S_OK);
    CHECK(std::wstring(sid.Get()) == L"S-1-5-21-1-2-3-1001");
    CHECK(stage.log.Has("INFO", "GetUserSid: 'S-1-5-21-1-2-3-1001' for user 'CORP\\alice'"));
}

TEST_CASE("The Other user tile is bound to no user")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    kelvor::ComRef<ICredentialProviderCredential2> tile;
    REQUIRE(stage.TheTile()->QueryInterface(IID_ICredentialProviderCredential2,
                                            reinterpret_cast<void**>(tile.Receive())) == S_OK);
    auto* sid = reinterpret_cast<wchar_t*>(&stage);
    CHECK(tile->GetUserSid(&sid) == S_FALSE);
    CHECK(sid == nullptr);
    CHECK(stage.log.Has("INFO", "GetUserSid: no SID (otherUser=1) -> S_FALSE"));
}
