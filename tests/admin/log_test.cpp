// The sign-ins that the tool finds in a log, and how it shows them.
#include <doctest.h>

#include <cstdio>

#include "log/attempts.h"
#include "log/views.h"
#include "written.h"

using namespace kelvor::admin;
using kelvor::test::Written;

namespace {

constexpr unsigned kLogonUi = 100;
constexpr unsigned kWorker = 200;

// A log as the module writes it.
class LogText {
 public:
    LogText& Add(unsigned ms, unsigned threadId, const char* level, const std::string& message)
    {
        char head[96];
        std::snprintf(head, sizeof head, "2026-11-21 16:23:%02u.%03u  pid=%-5u tid=%-5u  %-5s  ",
                      ms / 1000, ms % 1000, 4711U, threadId, level);
        text_ += head + message + "\r\n";
        return *this;
    }
    LogText& Worker(unsigned ms, const std::string& message)
    {
        return Add(ms, kWorker, "INFO", message);
    }
    LogText& LogonUi(unsigned ms, const std::string& message)
    {
        return Add(ms, kLogonUi, "INFO", message);
    }
    std::vector<Attempt> Attempts() const { return FindAttempts(ParseLog(text_)); }
    const std::string& Text() const { return text_; }

 private:
    std::string text_;
};

std::string Shown(const std::string& text)
{
    return "status -> '" + text + "' (SetFieldString hr=0x00000000)";
}

// Up to the credential that waits for LogonUI.
LogText BuiltForAlice()
{
    LogText log;
    log.LogonUi(900,
                "GetSerialization: sign-in started on a worker; returning NOT_FINISHED so the "
                "tile stays on screen and its progress is visible.");
    log.Worker(1'000, "GetSerialization: enter user='CORP\\alice' otherUser=0");
    log.Worker(1'001, Shown("Touch your security key now — it should be flashing."));
    log.Worker(1'100,
               "softcardctl: enrollment challenge relayed (rpId='corp.example'); the tap "
               "signs the bound challenge, not the nonce.");
    log.Worker(4'100, "fidopin(begin): one tap yielded 1 usable account(s) on this key.");
    log.Worker(4'300, "softcardctl: 1 of 1 credential(s) on this key can sign in here.");
    log.Worker(4'800,
               "softcardctl: card ARMED (upn='alice@corp.example', cardSwapped=1, "
               "didProvision=0).");
    log.Worker(7'000,
               "sclogon: card ARMED by live FIDO assertion (gate on); logon buffer uses an "
               "empty PIN.");
    log.Worker(7'050, "sclogon: reader='R' card='C' container='alice-container' csp='M'");
    log.Worker(7'060,
               "sclogon: built KERB_CERTIFICATE_LOGON (366 bytes, domOff=72 userOff=98 "
               "pinOff=110 cspOff=112) for 'corp.example\\alice' -> AP 2");
    log.Worker(7'070,
               "async submit: credential ready (366 bytes) -- asking LogonUI to collect it.");
    log.LogonUi(7'100,
                "GetSerialization: handing over the credential the worker built (366 bytes, "
                "AP 2, hr=0x00000000).");
    return log;
}

std::vector<std::string> PhasesOf(const Attempt& attempt)
{
    std::vector<std::string> phases;
    for (const PhaseTime& phase : attempt.phases) {
        phases.push_back(std::string(phase.name) + " " + std::to_string(phase.durationMs));
    }
    return phases;
}

}  // namespace

TEST_CASE("An accepted sign-in is one attempt with the time of each of its phases")
{
    LogText log = BuiltForAlice();
    log.LogonUi(7'400, "ReportResult: ntsStatus=0x00000000 subStatus=0x00000000 (success)");
    log.LogonUi(7'420, "softcardctl: disarm ok - the card can no longer sign (gate was open).");
    const std::vector<Attempt> attempts = log.Attempts();
    REQUIRE(attempts.size() == 1);
    CHECK(attempts[0].first.time == "2026-11-21 16:23:01.000");
    CHECK(attempts[0].tile == "CORP\\alice");
    CHECK(attempts[0].account == "alice@corp.example");
    CHECK(attempts[0].road == "tap");
    CHECK(attempts[0].ending == Ending::kAccepted);
    CHECK(attempts[0].durationMs == 6'420);
    CHECK(PhasesOf(attempts[0]) ==
          std::vector<std::string>{"challenge 100", "tap 3000", "filter 200", "arm 500",
                                   "settle 2200", "certificate 50", "buffer 10", "collected 40",
                                   "LSA 300", "disarm 20"});
}

TEST_CASE("A logon that the domain refused has LSA's codes and what the tile said")
{
    LogText log = BuiltForAlice();
    log.Add(9'000, kLogonUi, "ERROR",
            "ReportResult: ntsStatus=0xC000006D subStatus=0xC0000064 (STATUS_NO_SUCH_USER)");
    log.LogonUi(9'010, "softcardctl: disarm ok - the card can no longer sign (gate was open).");
    log.LogonUi(9'020, Shown("The domain does not recognise the account."));
    log.LogonUi(9'900, Shown(""));
    const std::vector<Attempt> attempts = log.Attempts();
    REQUIRE(attempts.size() == 1);
    CHECK(attempts[0].ending == Ending::kRefused);
    CHECK(attempts[0].code == "ntsStatus=0xC000006D subStatus=0xC0000064 (STATUS_NO_SUCH_USER)");
    CHECK(attempts[0].shown == "The domain does not recognise the account.");
    CHECK(attempts[0].durationMs == 8'020);
}

TEST_CASE("A sign-in that fails at the key has the step's code and its first sign")
{
    LogText log;
    log.Worker(1'000, "GetSerialization: enter user='(none-typed)' otherUser=1");
    log.Worker(1'100, "softcardctl: enrollment challenge relayed (rpId=''); the tap signs ...");
    log.Add(2'000, kWorker, "ERROR", "fidopin(begin): prov_assert_hmac_begin rc=49 (PIN_INVALID)");
    log.Add(2'001, kWorker, "ERROR",
            "GetSerialization: the tap failed hr=0x80070005 (incorrect PIN)");
    log.Worker(2'002, Shown("Sign-in failed: incorrect PIN"));
    log.Worker(2'003,
               "async submit: no credential produced (hr=0x00000000) -- the reason is on "
               "the tile and the user can submit again.");
    const std::vector<Attempt> attempts = log.Attempts();
    REQUIRE(attempts.size() == 1);
    CHECK(attempts[0].tile == "Other user");
    CHECK(attempts[0].ending == Ending::kFailed);
    CHECK(attempts[0].code == "0x80070005");
    CHECK(attempts[0].shown == "Sign-in failed: incorrect PIN");
    CHECK(attempts[0].evidence ==
          "ERROR fidopin(begin): prov_assert_hmac_begin rc=49 (PIN_INVALID)");
    CHECK(PhasesOf(attempts[0]) == std::vector<std::string>{"challenge 100", "tap 900"});
}

TEST_CASE("A tap that finds two accounts and the choice after it are two attempts")
{
    LogText log;
    log.Worker(1'000, "GetSerialization: enter user='(none-typed)' otherUser=1");
    log.Worker(2'000,
               "account picker: the tapped key holds 2 accounts - asking the user which "
               "one.");
    log.Worker(2'001, Shown("This security key is set up for more than one account."));
    log.Worker(2'002, "async submit: no credential produced (hr=0x00000000) -- the reason is ...");
    log.Add(5'000, 201, "INFO", "GetSerialization: enter user='(none-typed)' otherUser=1");
    log.Add(5'001, 201, "INFO",
            "GetSerialization: submitting account row 1 from the earlier tap (no second touch).");
    const std::vector<Attempt> attempts = log.Attempts();
    REQUIRE(attempts.size() == 2);
    CHECK(attempts[0].road == "tap, then choice");
    CHECK(attempts[0].ending == Ending::kAccountChoice);
    CHECK(attempts[1].road == "chosen account");
    CHECK(attempts[1].ending == Ending::kCutOff);
}

TEST_CASE("A credential that nobody reported is said to be just that")
{
    const std::vector<Attempt> attempts = BuiltForAlice().Attempts();
    REQUIRE(attempts.size() == 1);
    CHECK(attempts[0].ending == Ending::kNotReported);
}

TEST_CASE("Two processes that sign in at once are kept apart")
{
    std::string text = BuiltForAlice().Text();
    std::string other = text;
    for (std::size_t at = 0; (at = other.find("pid=4711", at)) != std::string::npos; ++at) {
        other.replace(at, 8, "pid=4712");
    }
    const std::vector<Attempt> attempts = FindAttempts(ParseLog(text + other));
    REQUIRE(attempts.size() == 2);
    CHECK(attempts[0].first.processId == 4711);
    CHECK(attempts[1].first.processId == 4712);
    CHECK(attempts[1].phases.size() == 8);
}

TEST_CASE("What does not begin like a line belongs to the message before it")
{
    const std::vector<LogLine> lines = ParseLog(
        "half a line\n2026-11-21 16:23:01.000  pid=1     tid=2      WARN   refused (first\r\nsecond)"
        "\r\n2026-11-21 16:23:02.000  pid=1     tid=2      INFO   next\r\n");
    REQUIRE(lines.size() == 2);
    CHECK(lines[0].message == "refused (first\nsecond)");
    CHECK(lines[0].level == "WARN");
    CHECK(lines[0].processId == 1);
    CHECK(lines[0].threadId == 2);
    CHECK(lines[1].timeMs - lines[0].timeMs == 1'000);
}

TEST_CASE("Times are read with a day alone, with minutes, seconds and milliseconds")
{
    const auto day = ParseTime("2026-11-21");
    REQUIRE(day.has_value());
    CHECK(ParseTime("1970-01-01") == 0);
    CHECK(ParseTime("2026-11-21 00:01") == *day + 60'000);
    CHECK(ParseTime("2026-11-21 01:00:02") == *day + 3'602'000);
    CHECK(ParseTime("2026-11-21 00:00:00.007") == *day + 7);
    for (const char* text :
         {"", "yesterday", "2026-02-30", "2026-11-21 1", "2026-11-21T10:00", "2026-11-21 10:00 ",
          "2026-11-21 24:00", "2026-11-21 10:60", "2026-11-21 10:00:60"}) {
        CAPTURE(text);
        CHECK_FALSE(ParseTime(text).has_value());
    }
}

TEST_CASE("A timeline shows where in the attempt each phase lies")
{
    Attempt attempt;
    attempt.first.time = "2026-11-21 16:23:01.000";
    attempt.tile = "CORP\\alice";
    attempt.account = "alice@corp.example";
    attempt.road = "tap";
    attempt.durationMs = 3'000;
    attempt.phases = {{"challenge", 0, 100}, {"tap", 100, 1'900}, {"LSA", 2'000, 1'000}};
    attempt.ending = Ending::kAccepted;
    Written written;
    ShowAsText({attempt}, written.To());
    CHECK(written.Text() ==
          "2026-11-21 16:23:01.000  CORP\\alice as alice@corp.example  (tap)  accepted  3.0 s\n"
          "    challenge     100 ms   #\n"
          "    tap           1.9 s     ###################\n"
          "    LSA           1.0 s                        ##########\n");
}

TEST_CASE("What the card service said begins no line of the timeline's own and steers no console")
{
    LogText log;
    log.Worker(0, "GetSerialization: enter user='CORP\\alice' otherUser=0");
    log.Add(1, kWorker, "WARN", "softcardctl: arm refused (no\r\n    code: 0x0 \x1B[32maccepted)");
    Written written;
    ShowAsText(log.Attempts(), written.To());
    CHECK(written.Text().find("    first sign: WARN softcardctl: arm refused (no␊    code: 0x0 "
                              "␛[32maccepted)\n") != std::string::npos);
}

TEST_CASE("An empty log is said to be empty")
{
    Written written;
    ShowAsText({}, written.To());
    CHECK(written.Text() == "No sign-in with a security key is in the log.\n");
}

TEST_CASE("The page escapes what the log holds and needs nothing from elsewhere")
{
    Attempt attempt;
    attempt.tile = "<b>&\"";
    attempt.ending = Ending::kFailed;
    attempt.shown = "refused by <script>alert(1)</script>";
    const std::string page = AsHtml({attempt}, "Sign-ins");
    CHECK(page.find("&lt;b&gt;&amp;&quot;") != std::string::npos);
    CHECK(page.find("<script") == std::string::npos);
    CHECK(page.find("http") == std::string::npos);
    CHECK(page.find("<section class=\"failed\">") != std::string::npos);
}
