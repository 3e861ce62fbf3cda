#include "world/world.h"

#include <doctest.h>

#include <stdexcept>
#include <string>

#include "scratch_folder.h"

namespace {

using namespace kelvor::simulator;

std::string ProblemOf(const std::string& text)
{
    try {
        ParseWorld(text, "my.world");
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST_CASE("An empty file is the world in which alice signs in with her USB key")
{
    const World world = ParseWorld("", "my.world");

    CHECK(world.pc.name == L"WS01");
    CHECK(world.pc.screen == Screen::kLogon);
    REQUIRE(world.users.size() == 1);
    CHECK(world.users[0].qualifiedName == L"CORP\\alice");
    REQUIRE(world.credentials.size() == 1);
    CHECK(world.credentials[0].upn == L"alice@corp.example");
    CHECK(world.key.presence == Presence::kUsb);
    CHECK(world.key.touch == TouchKind::kNow);
    CHECK(world.key.pin.Size() == 6);
    CHECK(world.settings.enabled == 1U);
    CHECK(world.settings.fidoGate == 1U);
    CHECK(world.service.running);
    CHECK(world.service.faults.empty());
    CHECK_FALSE(world.lsa.verdict);
}

TEST_CASE("The manners of the screen are read")
{
    const World world = ParseWorld(
        "[pc]\nscreen = credential prompt\nusers = 1000\n"
        "[screen]\nprovider_sink = no\ntile_sink = slow 300 ms\ncollects = when told\n"
        "releases = provider first\nidle = 30 s\nremote = yes\nfailing_threads = 3 and on\n",
        "my.world");

    CHECK(world.pc.screen == Screen::kCredentialPrompt);
    CHECK(world.pc.userList == UserList::kMany);
    CHECK(world.pc.userCount == 1000);
    CHECK_FALSE(world.screen.providerSink);
    CHECK(world.screen.tileSink == TileSink::kSlow);
    CHECK(world.screen.tileSinkMs == 300);
    CHECK_FALSE(world.screen.collectsAtOnce);
    CHECK(world.screen.releases == ReleaseOrder::kProviderFirst);
    CHECK(world.screen.idleMs == 30'000);
    CHECK(world.screen.remote);
    CHECK(world.screen.failingThreads.first == 3);
    CHECK(world.screen.failingThreads.last == MAXDWORD);
}

TEST_CASE("The default world is the world of an empty file")
{
    const World parsed = ParseWorld("", "my.world");
    const World made = DefaultWorld();

    CHECK(made.key.pin.View() == parsed.key.pin.View());
    CHECK(made.users.size() == parsed.users.size());
    CHECK(made.credentials.size() == parsed.credentials.size());
}

TEST_CASE("The PC and its users are read, whatever the line ends")
{
    const World world = ParseWorld(
        "\xEF\xBB\xBF# a comment\r\n"
        "[pc]\r\nname = PC7\r\nscreen = unlock\r\nusers = none\r\n"
        "[user]\nname = CORP\\bob\nsid = S-1-5-7\nprovider = local\n",
        "my.world");

    CHECK(world.pc.name == L"PC7");
    CHECK(world.pc.screen == Screen::kUnlock);
    CHECK(world.pc.userList == UserList::kEmpty);
    REQUIRE(world.users.size() == 1);
    CHECK(world.users[0].qualifiedName == L"CORP\\bob");
    CHECK(world.users[0].sid == L"S-1-5-7");
    CHECK(world.users[0].provider == UserProvider::kLocal);
}

TEST_CASE("Every property of the key is read")
{
    const World world = ParseWorld(
        "[key]\npresence = nfc\npin = 98765\nretries = 3\ntouch = after 500 ms\n"
        "touch_timeout = 4 s\nverifies_user = no\nwithout_pin = answer unverified\n"
        "begin_code = 0x2F\nflags_codes = 0:1\nget_codes = 1:0x22, 2:-3\ntamper = rp id\n",
        "my.world");

    CHECK(world.key.presence == Presence::kNfc);
    CHECK(world.key.pin.View() == "98765");
    CHECK(world.key.retries == 3);
    CHECK(world.key.touch == TouchKind::kAfter);
    CHECK(world.key.touchDelayMs == 500);
    CHECK(world.key.touchTimeoutMs == 4000);
    CHECK_FALSE(world.key.verifiesUser);
    CHECK(world.key.withoutPin == WithoutPin::kAnswerUnverified);
    CHECK(world.key.beginCode == 0x2F);
    REQUIRE(world.key.flagsFailures.size() == 1);
    CHECK(world.key.flagsFailures[0].code == 1);
    REQUIRE(world.key.getFailures.size() == 2);
    CHECK(world.key.getFailures[0].index == 1);
    CHECK(world.key.getFailures[0].code == 0x22);
    CHECK(world.key.getFailures[1].code == -3);
    CHECK(world.key.tamper == Tamper::kRpId);
}

TEST_CASE("Every property of a credential is read")
{
    const World world = ParseWorld(
        "[credential]\naccount_name = CORP\\bob\ndisplay_name = B\xC3\xB6"
        "b\nupn = bob@corp.example\n"
        "rp = other.example\nregistered = no\nverdict = AmbiguousCredential\nhmac_secret = no\n",
        "my.world");

    REQUIRE(world.credentials.size() == 1);
    CHECK(world.credentials[0].accountName == L"CORP\\bob");
    CHECK(world.credentials[0].displayName == L"B\u00F6b");
    CHECK(world.credentials[0].upn == L"bob@corp.example");
    CHECK(world.credentials[0].rpId == L"other.example");
    CHECK_FALSE(world.credentials[0].registered);
    CHECK(world.credentials[0].verdict == L"AmbiguousCredential");
    CHECK_FALSE(world.credentials[0].hmacSecret);
}

TEST_CASE("Every property of the service and its faults is read")
{
    const World world = ParseWorld(
        "[service]\nrunning = no\nidle_gate = 5 s\nchallenge_lifetime = 7 s\ndelay = 10\n"
        "busy_at_start = 1 s\ncard_hiding = yes\nsettle = 20 ms\n"
        "[fault]\ncommand = status\noccurrence = 2\ndo = refuse not today\n",
        "my.world");

    CHECK_FALSE(world.service.running);
    CHECK(world.service.idleGateMs == 5000);
    CHECK(world.service.challengeLifetimeMs == 7000);
    CHECK(world.service.delayMs == 10);
    CHECK(world.service.busyAtStartMs == 1000);
    CHECK(world.service.cardHiding);
    CHECK(world.service.settleMs == 20);
    REQUIRE(world.service.faults.size() == 1);
    CHECK(world.service.faults[0].command == "status");
    CHECK(world.service.faults[0].occurrence == 2);
    CHECK(world.service.faults[0].kind == FaultKind::kRefuse);
    CHECK(world.service.faults[0].text == L"not today");
}

TEST_CASE("Every property of card, directory and LSA is read")
{
    const World world = ParseWorld(
        "[card]\nprovisioned = no\npresent = no\nusage = client\nupn =\nkerberos_name = bob@corp.example\n"
        "validity = not yet\n"
        "revoked = yes\ncard_name = Card\ncontainer = box\nreader = Reader\n"
        "[directory]\nanswers = slow 7 s\nupn_suffix = example.org\n"
        "[lsa]\nverdict = STATUS_SMARTCARD_CERT_REVOKED\nsubstatus = 0xC0000064\ndelay = 3 s\n",
        "my.world");

    CHECK_FALSE(world.card.provisioned);
    CHECK_FALSE(world.card.present);
    CHECK(world.card.usage == CardUsage::kClientOnly);
    CHECK(world.card.upn == L"");
    CHECK(world.card.kerberosName == L"bob@corp.example");
    CHECK(world.card.validity == Validity::kNotYet);
    CHECK(world.card.revoked);
    CHECK(world.card.cardName == L"Card");
    CHECK(world.card.container == L"box");
    CHECK(world.card.readerName == L"Reader");
    CHECK(world.directory.answer == DirectoryAnswer::kSlow);
    CHECK(world.directory.delayMs == 7000);
    CHECK(world.directory.upnSuffix == L"example.org");
    CHECK(world.lsa.verdict == 0xC0000389U);
    CHECK(world.lsa.subStatus == 0xC0000064U);
    CHECK(world.lsa.delayMs == 3000);
}

TEST_CASE("Every registry setting is read")
{
    const World world = ParseWorld(
        "[settings]\nregistry_key = missing\nEnabled = 0\nFidoGate = missing\n"
        "FidoServerUrl = https://a/\nFidoRpId =\nFidoDevInsecureTls = 1\nCsp = C\nReader = R\n"
        "Container = K\nContainerUpn = U\n",
        "my.world");

    CHECK_FALSE(world.settings.keyExists);
    CHECK(world.settings.enabled == 0U);
    CHECK_FALSE(world.settings.fidoGate);
    CHECK(world.settings.serverUrl == L"https://a/");
    CHECK(world.settings.rpId == L"");
    CHECK(world.settings.devInsecureTls == 1U);
    CHECK(world.settings.csp == L"C");
    CHECK(world.settings.reader == L"R");
    CHECK(world.settings.container == L"K");
    CHECK(world.settings.containerUpn == L"U");
}

TEST_CASE("Every fault has its words")
{
    struct Row {
        const char* words;
        FaultKind kind;
        DWORD durationMs;
    };
    const Row rows[] = {
        {"delay 2 s", FaultKind::kDelay, 2000},
        {"silence", FaultKind::kSilence, 0},
        {"half", FaultKind::kHalf, 0},
        {"garbage", FaultKind::kGarbage, 0},
        {"hang up", FaultKind::kHangUp, 0},
        {"flood", FaultKind::kFlood, 0},
        {"busy 11 s", FaultKind::kBusy, 11000},
        {"restart 500 ms", FaultKind::kRestart, 500},
        {"refuse", FaultKind::kRefuse, 0},
        {"answer {\"ok\":true}", FaultKind::kAnswer, 0},
        {"die before", FaultKind::kDieBefore, 0},
        {"die during", FaultKind::kDieDuring, 0},
        {"die after", FaultKind::kDieAfter, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.words);
        const World world = ParseWorld(std::string("[fault]\ndo = ") + row.words, "my.world");
        REQUIRE(world.service.faults.size() == 1);
        CHECK(world.service.faults[0].kind == row.kind);
        CHECK(world.service.faults[0].durationMs == row.durationMs);
        CHECK(world.service.faults[0].occurrence == 0);
    }
}

TEST_CASE("A world that makes no sense is refused with file, line and reason")
{
    struct Row {
        const char* text;
        const char* problem;
    };
    const Row rows[] = {
        {"name = x", "my.world:1: this line stands before the first [section]"},
        {"\n\n[pc", "my.world:3: a section ends with ]"},
        {"[pcs]", "my.world:1: there is no section [pcs]"},
        {"[pc]\n[pc]", "my.world:2: section [pc] may stand here once"},
        {"[pc]\nnonsense", "my.world:2: expected [section], name = value or # comment"},
        {"[pc]\ncolour = red", "my.world:2: section [pc] has no \"colour\""},
        {"[pc]\nname = A\nname = B", "my.world:3: \"name\" is given twice"},
        {"[pc]\nname =", "my.world:2: expected a text, found nothing"},
        {"[pc]\nname = ABCDEFGHIJKLMNOP",
         "my.world:2: a computer's name has at most 15 characters"},
        {"[pc]\nscreen = lock",
         "my.world:2: expected one of logon, unlock, change password, credential prompt, pre-logon access, not \"lock\""},
        {"[pc]\nusers = many",
         "my.world:2: expected one of listed, none, null, never given, not \"many\""},
        {"[pc]\nusers = 100001", "my.world:2: a screen has at most 100000 users"},
        {"[screen]\nfailing_threads = 0",
         "my.world:2: expected calls such as 3, 3-4 or 3 and on, not \"0\""},
        {"[screen]\nfailing_threads = 4-3",
         "my.world:2: expected calls such as 3, 3-4 or 3 and on, not \"4-3\""},
        {"[screen]\ntile_sink = slow down",
         "my.world:2: expected a time such as 500 ms or 2 s, at most a day, not \"down\""},
        {"[pc]\nname = \xFF", "my.world:2: this line is not UTF-8"},
        {"[key]\nretries = 0", "my.world:2: a key allows 1 to 8 wrong PINs"},
        {"[key]\nretries = many", "my.world:2: expected a number such as 1 or 0x2E, not \"many\""},
        {"[key]\ntouch = later", "my.world:2: expected now, after 500 ms or never, not \"later\""},
        {"[key]\ntouch = after 5 h",
         "my.world:2: expected a time such as 500 ms or 2 s, at most a day, not \"5 h\""},
        {"[key]\ntouch_timeout = 86401 s",
         "my.world:2: expected a time such as 500 ms or 2 s, at most a day, not \"86401 s\""},
        {"[key]\nbegin_code = x", "my.world:2: expected a code such as 0x2E, 49 or -2, not \"x\""},
        {"[key]\nget_codes = 1",
         "my.world:2: expected pairs of statement and code such as 0:0x22, 2:-3, not \"1\""},
        {"[key]\nverifies_user = maybe", "my.world:2: expected one of yes, no, not \"maybe\""},
        {"[fault]\noccurrence = 0", "my.world:2: occurrences count from 1"},
        {"[fault]\ndo = half off", "my.world:2: nothing may follow \"half\""},
        {"[fault]\ndo = dance",
         "my.world:2: expected one of delay, silence, half, garbage, hang up, flood, busy, "
         "restart, refuse, answer, die before, die during, die after, not \"dance\""},
        {"[lsa]\nverdict = STATUS_NO",
         "my.world:2: expected an NTSTATUS such as STATUS_LOGON_FAILURE or 0xC000006D, not "
         "\"STATUS_NO\""},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text);
        CHECK(ProblemOf(row.text) == row.problem);
    }
}

TEST_CASE("A PIN that is too long is refused without being repeated")
{
    const std::string problem = ProblemOf("[key]\npin = " + std::string(64, '7'));
    CHECK(problem == "my.world:2: a PIN has at most 63 bytes");
}

TEST_CASE("A world's file that is missing is named")
{
    const kelvor::test::ScratchFolder folder;
    CHECK_THROWS_WITH_AS(LoadWorld(L"C:\\no such folder\\my.world"),
                         "C:\\no such folder\\my.world: there is no such file", std::runtime_error);
    CHECK(LoadWorld(folder.Write(L"my.world", "[pc]\nname = PC8\n")).pc.name == L"PC8");
}

TEST_CASE("A credential's relying party is its own, the settings' or localhost")
{
    World world = DefaultWorld();
    CHECK(RelyingPartyOf(world, world.credentials[0]) == L"login.corp.example");
    world.credentials[0].rpId = L"own.example";
    CHECK(RelyingPartyOf(world, world.credentials[0]) == L"own.example");
    world.credentials[0].rpId.reset();
    world.settings.rpId.reset();
    CHECK(RelyingPartyOf(world, world.credentials[0]) == L"localhost");
}

}  // namespace
