// What `check` says about Kerberos, the domain controller and the account.
#include <doctest.h>

#include "pc.h"

using namespace kelvor::test;

TEST_CASE("LSA's Kerberos package is told with its number")
{
    Pc pc;
    const std::string said = pc.Says("Kerberos");
    CHECK(said ==
          Ok("Kerberos", "LSA has the package, number " + std::to_string(pc.lsa.Package())));
    CHECK(pc.lsa.Outstanding() == 0);
}

TEST_CASE("An LSA without Kerberos is broken")
{
    Pc pc;
    pc.lsa.Calls().Fail("LsaLookupAuthenticationPackage", 0xC00000FE);
    CHECK(pc.Says("Kerberos") ==
          Fail("Kerberos", "LSA does not give the package (0xD00000FE)",
               "Restart the PC. If it stays so, look for events of LsaSrv in the System log, and "
               "for other makers' authentication packages."));
}

TEST_CASE("A domain controller is told with the time that it took to be located")
{
    Pc pc;
    pc.directory.SetOnLocate([&] { pc.clock.Advance(5999); });
    CHECK(pc.Says("domain controller") ==
          Ok("domain controller", "dc01.corp.example was located in 5999 ms"));
    CHECK(pc.directory.Outstanding() == 0);
}

TEST_CASE("A slow domain is a warning")
{
    Pc pc;
    pc.directory.SetOnLocate([&] { pc.clock.Advance(6000); });
    CHECK(pc.Says("domain controller") ==
          Warn("domain controller", "dc01.corp.example was located in 6000 ms",
               "That is slow: a sign-in may take too long for the card. Look at DNS, and at the "
               "domain's sites and subnets."));
}

TEST_CASE("Without a domain controller nobody signs in, and no account is asked about")
{
    Pc pc;
    pc.directory.SetLocatorFailure(1355);
    CHECK(pc.Says("domain controller") ==
          Fail("domain controller", "no domain controller could be located (Windows error 1355)",
               "Check network and VPN, then \"nltest /dsgetdc:DOMAIN\". This PC's DNS servers must "
               "be the domain's: \"nslookup -type=SRV _ldap._tcp.dc._msdcs.DOMAIN\" has to list "
               "domain controllers. See that the PC is joined: systeminfo names its domain."));
    CHECK(pc.Says("account") == Skip("account", "CORP\\alice: no domain controller can be asked"));
    CHECK(pc.directory.Calls().Count("TranslateNameW") == 0);
    pc.directory.SetLocatorFailure(87);
    CHECK(
        pc.Says("domain controller") ==
        Fail("domain controller", "no domain controller could be located (Windows error 87)",
             "Check network and VPN, that this PC's DNS servers are the domain's, and that the PC "
             "is joined; \"nltest /dsgetdc:DOMAIN\" asks the same."));
}

TEST_CASE("The account is told with its UPN")
{
    Pc pc;
    CHECK(pc.Says("account") == Ok("account", "CORP\\alice is alice@corp.example"));
    const std::string named = pc.Check({L"--user", L"CORP\\bob"});
    CHECK(named.find(Ok("account", "CORP\\bob is alice@corp.example")) != std::string::npos);
    CHECK(pc.directory.Calls().Calls("TranslateNameW").back().argument == L"CORP\\bob|2|8");
}

TEST_CASE("An account whose UPN the directory does not tell is a warning")
{
    Pc pc;
    pc.directory.SetUpn(std::nullopt);
    CHECK(pc.Says("account") ==
          Warn("account", "CORP\\alice: the directory tells no UPN for this name",
               "See that the account exists and has a userPrincipalName, the one that its "
               "certificate names. Without it the sign-in compares the plain user names."));
}

TEST_CASE("An account of the PC itself is no account to sign in with")
{
    Pc pc;
    pc.system.user = L"WS01\\admin";
    CHECK(pc.Says("account") == Skip("account", "WS01\\admin is no account of a domain",
                                     "Name the account that is to sign in: --user DOMAIN\\name."));
    const std::string named = pc.Check({L"--user", L"WS01\\admin"});
    CHECK(named.find(Fail("account", "WS01\\admin is no account of a domain",
                          "Only accounts of an Active Directory domain get a tile; write it as "
                          "DOMAIN\\name with the domain's NetBIOS name.")) != std::string::npos);
    CHECK(pc.ExitCode() == 3);
}

TEST_CASE("Nobody knows who runs the tool")
{
    Pc pc;
    pc.system.user.clear();
    CHECK(pc.Says("account") == Skip("account", "whoever runs the tool is no account of a domain",
                                     "Name the account that is to sign in: --user DOMAIN\\name."));
}
