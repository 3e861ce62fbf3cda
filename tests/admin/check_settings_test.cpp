// What `check` says about each of the nine settings.
#include <doctest.h>

#include "pc.h"

using namespace kelvor::test;

namespace {

constexpr const char* kWriteUrl =
    "Write the address of the sign-in server, such as https://signin.corp.example.";

}  // namespace

TEST_CASE("Each setting is told with the value that counts")
{
    Pc pc;
    CHECK(pc.Says("setting Enabled") == Ok("setting Enabled", "on"));
    CHECK(pc.Says("setting FidoGate") == Ok("setting FidoGate", "on"));
    CHECK(pc.Says("setting FidoServerUrl") ==
          Ok("setting FidoServerUrl", "'https://signin.corp.example'"));
    CHECK(pc.Says("setting FidoRpId") == Ok("setting FidoRpId", "'corp.example'"));
    CHECK(pc.Says("setting FidoDevInsecureTls") ==
          Ok("setting FidoDevInsecureTls", "off (not set)"));
    CHECK(pc.Says("setting Csp") ==
          Ok("setting Csp", "'Microsoft Base Smart Card Crypto Provider' (not set)"));
    CHECK(pc.Says("setting Reader") ==
          Ok("setting Reader", "'Kelvor Virtual Smart Card Reader' (not set)"));
    CHECK(pc.Says("setting Container") == Ok("setting Container", "found on the card (not set)"));
    CHECK(pc.Says("setting ContainerUpn") == Ok("setting ContainerUpn", "none (not set)"));
}

TEST_CASE("A PC without the settings key lets nobody sign in")
{
    Pc pc;
    RegDeleteTreeW(pc.registry.Machine(), L"SOFTWARE\\KelvorDirectoryFidoLogon");
    CHECK(pc.Says("setting Enabled") ==
          Fail("setting Enabled", "off (not set)",
               "Set it to 1: nobody signs in with a key while it is off."));
    CHECK(pc.Says("setting FidoGate") ==
          Warn("setting FidoGate", "off (not set)",
               "Set it to 1, unless this PC is still to be set up by its first sign-in: later ones "
               "are refused while it is off."));
    CHECK(pc.Says("setting FidoServerUrl") ==
          Warn("setting FidoServerUrl", "'https://localhost' (not set)", kWriteUrl));
    CHECK(pc.Says("setting FidoRpId") ==
          Ok("setting FidoRpId", "the card service's own (not set)"));
}

TEST_CASE("A switch that is off is told as such")
{
    Pc pc;
    pc.registry.SetDword(L"Enabled", 0);
    CHECK(
        pc.Says("setting Enabled") ==
        Fail("setting Enabled", "off", "Set it to 1: nobody signs in with a key while it is off."));
    pc.registry.SetDword(L"FidoGate", 0);
    CHECK(pc.Says("setting FidoGate") ==
          Warn("setting FidoGate", "off",
               "Set it to 1, unless this PC is still to be set up by its first sign-in: later ones "
               "are refused while it is off."));
}

TEST_CASE("A value of the wrong type does not count, and the type is named")
{
    Pc pc;
    pc.registry.SetString(L"Enabled", L"1");
    CHECK(pc.Says("setting Enabled") == Fail("setting Enabled",
                                             "off: it is REG_SZ instead of REG_DWORD",
                                             "Write it as REG_DWORD."));
    pc.registry.SetBytes(L"FidoDevInsecureTls", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0});
    CHECK(pc.Says("setting FidoDevInsecureTls") == Warn("setting FidoDevInsecureTls",
                                                        "off: it is REG_QWORD instead of REG_DWORD",
                                                        "Write it as REG_DWORD."));
    pc.registry.SetDword(L"Reader", 7);
    CHECK(pc.Says("setting Reader") ==
          Warn("setting Reader",
               "'Kelvor Virtual Smart Card Reader': it is REG_DWORD instead of REG_SZ",
               "Write it as REG_SZ."));
    pc.registry.SetBytes(L"Csp", 77, {1});
    CHECK(pc.Says("setting Csp") ==
          Warn("setting Csp",
               "'Microsoft Base Smart Card Crypto Provider': it is type 77 instead of REG_SZ",
               "Write it as REG_SZ."));
}

TEST_CASE("A text with one character too many is told with its length")
{
    Pc pc;
    pc.registry.SetString(L"Reader", std::wstring(511, L'r'));
    CHECK(pc.Says("setting Reader") == Ok("setting Reader", "'" + std::string(511, 'r') + "'"));
    pc.registry.SetString(L"Reader", std::wstring(512, L'r'));
    CHECK(pc.Says("setting Reader") ==
          Warn("setting Reader", "'Kelvor Virtual Smart Card Reader': it has 512 characters",
               "Shorten it to at most 511 characters."));
    pc.registry.SetString(L"FidoRpId", std::wstring(256, L'i'));
    CHECK(pc.Says("setting FidoRpId") ==
          Warn("setting FidoRpId", "'" + std::string(256, 'i') + "': it has 256 characters",
               "Shorten it to at most 255 characters."));
    pc.registry.SetString(L"FidoServerUrl", L"https://" + std::wstring(1016, L'u'));
    CHECK(pc.Says("setting FidoServerUrl") == Fail("setting FidoServerUrl",
                                                   "none: it has 1024 characters",
                                                   "Shorten it to at most 1023 characters."));
}

TEST_CASE("The server's address has to be there, and to be encrypted")
{
    Pc pc;
    pc.registry.SetString(L"FidoServerUrl", L"http://signin.corp.example");
    CHECK(pc.Says("setting FidoServerUrl") ==
          Warn("setting FidoServerUrl", "'http://signin.corp.example'; it is not encrypted",
               "Use https://: anybody on the network can pass for the server otherwise."));
    pc.registry.SetString(L"FidoServerUrl", L"signin.corp.example");
    CHECK(pc.Says("setting FidoServerUrl") ==
          Warn("setting FidoServerUrl", "'signin.corp.example'; it does not begin with https://",
               kWriteUrl));
    pc.registry.SetString(L"FidoServerUrl", L"");
    CHECK(pc.Says("setting FidoServerUrl") == Fail("setting FidoServerUrl", "none", kWriteUrl));
    pc.registry.Remove(L"FidoServerUrl");
    CHECK(pc.Says("setting FidoServerUrl") ==
          Fail("setting FidoServerUrl", "none (not set)", kWriteUrl));
    pc.registry.SetString(L"FidoServerUrl", L"https://%SERVER%", REG_EXPAND_SZ);
    CHECK(pc.Says("setting FidoServerUrl") == Fail("setting FidoServerUrl",
                                                   "none: it is REG_EXPAND_SZ instead of REG_SZ",
                                                   "Write it as REG_SZ."));
}

TEST_CASE("While the PC is set up, another reading of the server's address counts")
{
    Pc pc;
    pc.registry.SetDword(L"FidoGate", 0);
    pc.registry.SetString(L"FidoServerUrl", L"https://%SERVER%/", REG_EXPAND_SZ);
    CHECK(pc.Says("setting FidoServerUrl") ==
          Warn("setting FidoServerUrl", "'https://%SERVER%': it is REG_EXPAND_SZ instead of REG_SZ",
               "Write it as REG_SZ."));
    CHECK(pc.Says("setting FidoRpId") == Ok("setting FidoRpId", "'corp.example'"));
}

TEST_CASE("The relying party is a host name")
{
    Pc pc;
    pc.registry.SetString(L"FidoRpId", L"https://corp.example");
    CHECK(pc.Says("setting FidoRpId") ==
          Warn("setting FidoRpId", "'https://corp.example'; it is no host name",
               "Write the host name alone, without https:// and without a port."));
}

TEST_CASE("Unchecked server certificates are a warning")
{
    Pc pc;
    pc.registry.SetDword(L"FidoDevInsecureTls", 1);
    CHECK(pc.Says("setting FidoDevInsecureTls") ==
          Warn("setting FidoDevInsecureTls", "on; the server's certificate is not checked",
               "Remove it: it is for development only, and lets anybody on the network pass for "
               "the sign-in server."));
}

TEST_CASE("Empty names of provider and reader are warnings")
{
    Pc pc;
    pc.registry.SetString(L"Csp", L"");
    CHECK(pc.Says("setting Csp") ==
          Warn("setting Csp", "''; no provider has this name",
               "Remove it, so that Windows' own smart-card provider is used."));
    pc.registry.SetString(L"Reader", L"");
    CHECK(pc.Says("setting Reader") ==
          Warn("setting Reader", "''; any reader is taken",
               "Remove it, so that the card service's own reader is used."));
}

TEST_CASE("A pinned container and its account belong together")
{
    Pc pc;
    pc.registry.SetString(L"Container", L"alice-container");
    CHECK(pc.Says("setting Container") ==
          Warn("setting Container", "'alice-container'; ContainerUpn does not say whose it is",
               "Write the account's UPN into ContainerUpn, or remove Container: it is found on the "
               "card by itself."));
    pc.registry.SetString(L"ContainerUpn", L"alice@corp.example");
    CHECK(pc.Says("setting Container") == Ok("setting Container", "'alice-container'"));
    CHECK(pc.Says("setting ContainerUpn") == Ok("setting ContainerUpn", "'alice@corp.example'"));
    pc.registry.SetString(L"ContainerUpn", L"CORP\\alice");
    CHECK(pc.Says("setting ContainerUpn") ==
          Warn("setting ContainerUpn", "'CORP\\alice'; it is no UPN",
               "Write it as name@domain, or remove it together with Container."));
    pc.registry.Remove(L"Container");
    pc.registry.SetString(L"ContainerUpn", L"alice@corp.example");
    CHECK(pc.Says("setting ContainerUpn") ==
          Warn("setting ContainerUpn",
               "'alice@corp.example'; no Container is pinned that it could speak of",
               "Remove it, or pin the Container that it belongs to."));
}
