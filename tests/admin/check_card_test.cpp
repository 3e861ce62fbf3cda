// What `check` says about the card service, the reader, the card and its certificate.
#include <doctest.h>

#include "pc.h"

using namespace kelvor::test;

namespace {

constexpr const char* kValid =
    ", valid from 2025-01-01 to 2049-12-31, for Client Authentication, Smart Card Logon, container "
    "'alice-container'";
constexpr const char* kRenew =
    "Let the card service renew the certificate: its server has to be reachable. Check the PC's "
    "clock.";

}  // namespace

TEST_CASE("A card service that answers is told with its state and its time")
{
    Pc pc;
    CHECK(pc.Says("card service") == Ok("card service", "answered in 0 ms: the card is set up"));
    pc.service.Answers("status", R"({"ok":true,"provisioned":true,"cardHidden":true})");
    CHECK(pc.Says("card service") ==
          Ok("card service", "answered in 0 ms: the card is set up, hidden until a key opens it"));
    pc.service.Answers("status", R"({"ok":true,"provisioned":false})");
    CHECK(pc.Says("card service") ==
          Ok("card service", "answered in 0 ms: no card is set up yet; the first sign-in does it"));
}

TEST_CASE("The card service is asked for its status and for nothing else")
{
    Pc pc;
    pc.Check({L"--user", L"CORP\\alice"});
    CHECK(pc.service.Requests() == std::vector<std::string>{R"({"cmd":"status"})"});
}

TEST_CASE("A card that is set up while the gate is off refuses every sign-in")
{
    Pc pc;
    pc.registry.SetDword(L"FidoGate", 0);
    CHECK(
        pc.Says("card service") ==
        Fail("card service", "answered in 0 ms: the card is set up, but FidoGate is off",
             "Set FidoGate to 1: with a card that is set up, every sign-in is refused while it is "
             "off."));
}

TEST_CASE("A card service that does not run is told from one that does not answer")
{
    Pc pc;
    pc.service.Answers("status", Reply::HangUp());
    CHECK(
        pc.Says("card service") ==
        Fail("card service", "the card service did not respond (0x80004005)",
             "Restart the card service and look at its own log; if it is out of date, update it."));
    pc.service.Stop();
    CHECK(pc.Says("card service") ==
          Fail("card service", "the card service is not running (0x80070426)",
               "Start the card service and set it to start by itself; install it if it is "
               "missing: it is a product of its own."));
}

TEST_CASE("A card service that refuses may answer SYSTEM all the same")
{
    const char* const remedy =
        "The card service answers SYSTEM, as which LogonUI runs, but perhaps not this account: run "
        "the tool as an administrator, or as SYSTEM from a scheduled task. If it fails there, too, "
        "look at the card service's own log.";
    Pc pc;
    pc.service.Answers("status", R"({"ok":false,"error":"not for you"})");
    CHECK(pc.Says("card service") == Warn("card service", "not for you (0x80070005)", remedy));
    pc.pipe.FailOpens({ERROR_ACCESS_DENIED});
    CHECK(pc.Says("card service") ==
          Warn("card service", "could not reach the card service (0x80070005)", remedy));
    CHECK(pc.ExitCode() == 1);
}

TEST_CASE("Reader and card are told by name")
{
    Pc pc;
    CHECK(pc.Says("reader") ==
          Ok("reader", "'Kelvor Virtual Smart Card Reader 0' holds 'Kelvor Card'"));
}

TEST_CASE("A reader of another name is not the one")
{
    Pc pc;
    pc.reader.SetReaders({{L"Desk Reader", kelvor::simulator::ReaderCard{}}});
    CHECK(pc.Says("reader") ==
          Fail("reader", "no smart-card reader's name contains 'Kelvor Virtual Smart Card Reader'",
               "Start the services SCardSvr (Smart Card) and the card service, and correct the "
               "setting Reader; letter case counts."));
    CHECK(pc.Says("certificate") == Skip("certificate", "there is no card to read it from"));
}

TEST_CASE("A card that Windows does not know is a warning")
{
    Pc pc;
    pc.reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0", std::nullopt}});
    CHECK(pc.Says("reader") ==
          Warn("reader", "'Kelvor Virtual Smart Card Reader 0' holds no card that Windows knows",
               "Restart the card service and sign in with a key once. If the card stays unknown, "
               "its ATR is missing in Windows' smart-card database: install the card service "
               "again."));
}

TEST_CASE("A card that need not be there is not missed")
{
    Pc pc;
    pc.reader.SetReaders({{L"Kelvor Virtual Smart Card Reader 0", std::nullopt}});
    pc.service.Answers("status", R"({"ok":true,"provisioned":true,"cardHidden":true})");
    CHECK(pc.Says("reader") ==
          Skip("reader",
               "'Kelvor Virtual Smart Card Reader 0' holds no card that Windows knows: the card "
               "service hides the card until a key opens it"));
    pc.reader.SetReaders({});
    pc.service.Answers("status", R"({"ok":true,"provisioned":false})");
    CHECK(pc.Says("reader") ==
          Skip("reader",
               "no smart-card reader's name contains 'Kelvor Virtual Smart Card Reader': no card "
               "is set up yet"));
    CHECK(pc.ExitCode() == 0);
}

TEST_CASE("A Remote Desktop session cannot look at the PC's own readers")
{
    Pc pc;
    pc.system.remoteSession = true;
    CHECK(pc.Says("reader") ==
          Skip("reader", "a Remote Desktop session sees the readers of the other computer",
               "Run the tool at the PC itself, or in a remote shell."));
    CHECK(pc.reader.Calls().Calls().empty());
}

TEST_CASE("The certificate is told with its account, its time and its usages")
{
    Pc pc;
    CHECK(pc.Says("certificate") == Ok("certificate", std::string("alice@corp.example") + kValid));
    CHECK(pc.csp.Outstanding() == 0);
}

TEST_CASE("The first certificate for logon is taken, as the sign-in does")
{
    Pc pc;
    pc.PutCertificates({{.upn = "mail@corp.example", .usages = {{kClientAuthenticationUsage}}},
                        {.upn = "bob@corp.example"},
                        {.upn = "carol@corp.example"}});
    CHECK(pc.Says("certificate") == Ok("certificate", std::string("bob@corp.example") + kValid));
}

TEST_CASE("A card without a certificate for logon is broken")
{
    Pc pc;
    pc.PutCertificates({{.usages = {{kClientAuthenticationUsage}}}, {.usages = std::nullopt}});
    CHECK(
        pc.Says("certificate") ==
        Fail("certificate",
             "none of the card's 2 certificate(s) is for smart-card logon and has a key container",
             "Let the card service set the card up for this account, with a certificate for Smart "
             "Card Logon (1.3.6.1.4.1.311.20.2.2)."));
}

TEST_CASE("A provider that cannot open the card is named")
{
    Pc pc;
    pc.registry.SetString(L"Csp", L"Other Provider");
    pc.csp.Calls().Fail("CryptAcquireContextW", ERROR_NOT_FOUND);
    CHECK(pc.Says("certificate") ==
          Fail("certificate", "the provider 'Other Provider' cannot read the card",
               "Correct the setting Csp, or take it away; see that the card's driver (minidriver) "
               "is installed."));
}

TEST_CASE("A certificate is valid from its first second to its last")
{
    Pc pc;
    const std::string seen = std::string("alice@corp.example") + kValid;
    pc.system.today = {2049, 12, 0, 31, 23, 59, 59, 999};
    CHECK(pc.Says("certificate") == Fail("certificate", seen + "; it has expired", kRenew));
    pc.system.today = {2049, 12, 0, 31, 23, 59, 59, 0};
    CHECK(pc.Says("certificate") == Warn("certificate", seen + "; it expires soon", kRenew));
    pc.system.today = {2049, 12, 0, 18, 0, 0, 0, 0};
    CHECK(pc.Says("certificate") == Warn("certificate", seen + "; it expires soon", kRenew));
    pc.system.today = {2049, 12, 0, 17, 23, 59, 59, 0};
    CHECK(pc.Says("certificate") == Ok("certificate", seen));
    pc.system.today = {2025, 1, 0, 1, 0, 0, 0, 0};
    CHECK(pc.Says("certificate") == Ok("certificate", seen));
    pc.system.today = {2024, 12, 0, 31, 23, 59, 59, 0};
    CHECK(pc.Says("certificate") == Fail("certificate", seen + "; it is not valid yet",
                                         "Set the PC's clock and time zone right."));
}

TEST_CASE("A certificate without a UPN needs an explicit mapping")
{
    Pc pc;
    pc.PutCertificates({{.upn = std::nullopt}});
    CHECK(pc.Says("certificate") ==
          Warn("certificate", std::string("someone") + kValid + "; it names no UPN",
               "The domain finds the account only by an explicit mapping (altSecurityIdentities): "
               "make one, or let the card service enrol a certificate with a UPN."));
}

TEST_CASE("A pinned container is looked for on the card")
{
    Pc pc;
    pc.registry.SetString(L"Container", L"alice-container");
    pc.registry.SetString(L"ContainerUpn", L"bob@corp.example");
    CHECK(pc.Says("certificate") ==
          Warn("certificate",
               std::string("alice@corp.example") + kValid + "; ContainerUpn names another account",
               "Correct ContainerUpn, or take it and Container away."));
    pc.registry.SetString(L"ContainerUpn", L"Alice@corp.example");
    CHECK(pc.Says("certificate") == Ok("certificate", std::string("alice@corp.example") + kValid));
    pc.registry.SetString(L"Container", L"bob-container");
    CHECK(pc.Says("certificate") ==
          Warn("certificate", "the pinned container 'bob-container' is not on the card",
               "It is another account's card, or Container is wrong: take Container and "
               "ContainerUpn away if this PC is used with several keys."));
}

TEST_CASE("The certificate of a pinned container may be for something else")
{
    Pc pc;
    pc.registry.SetString(L"Container", L"alice-container");
    pc.PutCertificates({{.usages = {{"1.3.6.1.5.5.7.3.4"}}}});
    CHECK(pc.Says("certificate") ==
          Fail("certificate",
               "alice@corp.example, valid from 2025-01-01 to 2049-12-31, for 1.3.6.1.5.5.7.3.4, "
               "container 'alice-container'; it is not for smart-card logon",
               "Let the card service enrol a certificate with the usage Smart Card Logon "
               "(1.3.6.1.4.1.311.20.2.2), or take the setting Container away."));
    pc.PutCertificates({{.usages = std::nullopt}});
    CHECK(pc.Says("certificate").find("31, no usage named, container") != std::string::npos);
}
