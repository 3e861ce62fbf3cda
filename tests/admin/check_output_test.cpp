// How `check` shows what it found, and how it ends.
#include <doctest.h>

#include "json/json.h"
#include "pc.h"

using namespace kelvor::test;
using kelvor::simulator::JsonDocument;
using kelvor::simulator::JsonObject;

TEST_CASE("On a PC on which all is well every line is OK, in the order of a sign-in")
{
    Pc pc;
    const std::string text = pc.Check();
    std::string names;
    for (std::size_t start = 0; text.compare(start, 6, "OK    ") == 0;
         start = text.find('\n', start) + 1) {
        const std::string column = text.substr(start + 6, 28);
        names += column.substr(0, column.find_last_not_of(' ') + 1) + "\n";
    }
    CHECK(names ==
          "registration\nprovider list\nmodule file\nsignature\nkey library\nsetting Enabled\n"
          "setting FidoGate\nsetting FidoServerUrl\nsetting FidoRpId\nsetting FidoDevInsecureTls\n"
          "setting Csp\nsetting Reader\nsetting Container\nsetting ContainerUpn\ncard service\n"
          "reader\ncertificate\nKerberos\ndomain controller\naccount\n");
    CHECK(text.ends_with("\nAll is well.\n"));
    CHECK(pc.ExitCode() == 0);
}

TEST_CASE("The last line counts, and the exit code tells the worst")
{
    Pc pc;
    pc.registry.SetDword(L"FidoDevInsecureTls", 1);
    CHECK(pc.Check().ends_with("\n0 failures, 1 warning.\n"));
    CHECK(pc.ExitCode() == 1);
    pc.system.signature = TRUST_E_NOSIGNATURE;
    pc.registry.SetDword(L"Enabled", 0);
    CHECK(pc.Check().ends_with("\n1 failure, 2 warnings.\n"));
    CHECK(pc.ExitCode() == 3);
}

TEST_CASE("With --verbose the module's own words stand below the check that heard them")
{
    Pc pc;
    const std::string text = pc.Check({L"--verbose"});
    CHECK(text.find("OK    card service                answered in 0 ms: the card is set up\n"
                    "      log: INFO  softcardctl: status - provisioned=1 cardHidden=0.\n"
                    "OK    reader") != std::string::npos);
}

TEST_CASE("What the module would have logged comes with its letters whole")
{
    Pc pc;
    pc.service.Answers("status", R"({"ok":false,"error":"gesperrt für Jürgen – 鍵"})");
    const std::string text = pc.Check({L"--verbose"});
    CHECK(text.find("log: WARN  softcardctl: status refused (gesperrt für Jürgen – 鍵)\n") !=
          std::string::npos);
}

TEST_CASE("What the card service said begins no line of the tool's own")
{
    Pc pc;
    pc.service.Answers("status", R"({"ok":false,"error":"no\nOK    reader \u001b[32m"})");
    const std::string text = pc.Check({L"--verbose"});
    CHECK(text.find("log: WARN  softcardctl: status refused (no␊OK    reader ␛[32m)\n") !=
          std::string::npos);
}

TEST_CASE("Without --verbose nothing is said of it, and the module's log is not written")
{
    ProgramDataRoom programData;
    Pc pc;
    CHECK(pc.Check().find("log:") == std::string::npos);
    pc.Check({L"--verbose"});
    CHECK(GetFileAttributesW((programData.Path() + L"\\KelvorDirectoryFidoLogon").c_str()) ==
          INVALID_FILE_ATTRIBUTES);
}

TEST_CASE("As JSON the findings are one object, escaped as it has to be")
{
    Pc pc;
    pc.registry.SetString(L"Reader", L"\"Back\\slash\" \x01 ü");
    const auto document = JsonDocument::Parse(kelvor::SecretText(pc.Check({L"--json"})));
    REQUIRE(document);
    const JsonObject json = document->Root();
    CHECK(json.Names() == std::vector<std::string_view>{"tool", "computer", "checks", "outcome",
                                                        "failures", "warnings"});
    CHECK(json.Text("tool") == KELVOR_VERSION);
    CHECK(json.Text("computer") == "WS01");
    CHECK(json.Text("outcome") == "broken");
    CHECK(json.Number("failures") == 1u);
    CHECK(json.Number("warnings") == 0u);
    const auto checks = json.Objects("checks").value();
    REQUIRE(checks.size() == 20);
    CHECK(checks[0].Names() == std::vector<std::string_view>{"check", "verdict", "seen", "remedy"});
    CHECK(checks[5].Text("check") == "setting Enabled");
    CHECK(checks[5].Text("verdict") == "ok");
    CHECK(checks[5].Text("seen") == "on");
    CHECK(checks[5].Text("remedy") == "");
    CHECK(checks[11].Text("seen") == "'\"Back\\slash\" \x01 ü'");
    CHECK(checks[15].Text("check") == "reader");
    CHECK(checks[15].Text("verdict") == "fail");
    CHECK(checks[16].Text("verdict") == "skip");
    CHECK(pc.ExitCode() == 3);
}

TEST_CASE("JSON has the module's own words only with --verbose")
{
    Pc pc;
    pc.registry.SetDword(L"FidoDevInsecureTls", 1);
    const auto document =
        JsonDocument::Parse(kelvor::SecretText(pc.Check({L"--verbose", L"--json"})));
    REQUIRE(document);
    CHECK(document->Root().Text("outcome") == "warnings");
    const auto checks = document->Root().Objects("checks").value();
    CHECK(checks[9].Text("verdict") == "warn");
    CHECK(checks[9].Texts("log") == std::vector<std::string_view>{});
    CHECK(checks[14].Texts("log") ==
          std::vector<std::string_view>{"INFO  softcardctl: status - provisioned=1 cardHidden=0."});
}

TEST_CASE("Wrong words are refused before anything is looked at")
{
    Pc pc;
    const std::string name = "KelvorFidoAdLogonAdmin: ";
    const std::string tail = "; --help tells more\n";
    CHECK(pc.Check({L"everything"}) == name + "check takes options only, not 'everything'" + tail);
    CHECK(pc.ExitCode() == 2);
    CHECK(pc.Check({L"--quiet"}) == name + "unknown option --quiet" + tail);
    CHECK(pc.ExitCode() == 2);
    for (const wchar_t* user : {L"alice", L"\\alice", L"CORP\\", L"CORP\\staff\\alice", L""}) {
        pc.Check({L"--user", user});
        CHECK(pc.ExitCode() == 2);
    }
    CHECK(pc.Check({L"--user=alice"}) == name + "--user wants DOMAIN\\name, not 'alice'" + tail);
    CHECK(pc.service.Requests().empty());
    CHECK(pc.registry.Calls().Calls().empty());
}
