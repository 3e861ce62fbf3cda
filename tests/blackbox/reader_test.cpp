// Finding the reader and the card for the logon, and waiting until the card can be read.

#include <algorithm>
#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::Call;
using kelvor::simulator::ImportPatch;
using kelvor::simulator::Reader;
using kelvor::simulator::ReaderCard;
using kelvor::test::BuildFailed;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

constexpr const wchar_t* kVirtualReader = L"Kelvor Virtual Smart Card Reader 0";
constexpr const char* kNoReader =
    "the sign-in card is not ready — wait a moment and try again; if it keeps happening, restart this PC";

Reader WithCard(std::wstring name)
{
    return {std::move(name), ReaderCard{.registeredNames = {L"Kelvor Card"}}};
}

bool Found(Stage& stage, const std::string& reader, const std::string& card)
{
    return stage.log.Has("INFO", "sclogon: reader='" + reader + "' card='" + card +
                                     "' container='alice-container' csp='Microsoft Base Smart Card "
                                     "Crypto Provider'");
}

bool FoundNoReader(Stage& stage, const std::string& hint)
{
    return stage.log.Has("ERROR", "sclogon: no smart-card reader found (hint='" + hint + "')") &&
           BuildFailed(stage, "0x80070458", kNoReader);
}

std::vector<std::string> Functions(Stage& stage)
{
    std::vector<std::string> functions;
    for (const Call& call : stage.reader.Calls().Calls()) {
        functions.push_back(call.function);
    }
    return functions;
}

// A PC whose gate is off and whose card service is not running, so that the readers decide.
struct UnservedPc : Stage {
    UnservedPc()
    {
        settings.SetDword(L"FidoGate", 0);
        service.Stop();
    }

    bool ProbeSays(const std::string& verdict)
    {
        SignIn();
        return log.Has("WARN",
                       "GetSerialization: could not ask the card service whether this PC is set "
                       "up (the card service is not running) - falling back to the reader probe, "
                       "which says " +
                           verdict + ".");
    }
};

// The card service loads the account's card into the reader over the sign-in.
struct SwappingPc : Stage {
    SwappingPc()
    {
        service.Answers("armorprovision",
                        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true})");
    }
};

}  // namespace

TEST_CASE("The reader and its card are found by the default hint")
{
    Stage stage;
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
}

TEST_CASE("Of two readers the one named by the hint is taken")
{
    Stage stage;
    stage.reader.SetReaders({WithCard(L"Contact Reader 0"), WithCard(kVirtualReader)});
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
}

TEST_CASE("Of two readers that the hint names the first is taken")
{
    Stage stage;
    stage.reader.SetReaders({WithCard(L"Kelvor Virtual Smart Card Reader 1"),
                             WithCard(L"Kelvor Virtual Smart Card Reader 0")});
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 1", "Kelvor Card"));
}

TEST_CASE("An empty hint takes the first reader, even a physical one")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"");
    stage.reader.SetReaders({WithCard(L"Contact Reader 0"), WithCard(kVirtualReader)});
    stage.SignIn();
    CHECK(Found(stage, "Contact Reader 0", "Kelvor Card"));
}

TEST_CASE("A hint may stand anywhere in the reader's name")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"Smart Card");
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
}

TEST_CASE("A hint of another letter case names no reader")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"kelvor virtual smart card reader");
    stage.SignIn();
    CHECK(FoundNoReader(stage, "kelvor virtual smart card reader"));
}

TEST_CASE("A hint longer than the reader's name does not name it")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"Kelvor Virtual Smart Card Reader 0 0");
    stage.SignIn();
    CHECK(FoundNoReader(stage, "Kelvor Virtual Smart Card Reader 0 0"));
}

TEST_CASE("A PC without readers has no sign-in card")
{
    Stage stage;
    stage.reader.SetReaders({});
    stage.SignIn();
    CHECK(FoundNoReader(stage, "Kelvor Virtual Smart Card Reader"));
}

TEST_CASE("Without the resource manager no reader is found")
{
    Stage stage;
    stage.reader.Calls().Fail("SCardEstablishContext", static_cast<DWORD>(SCARD_E_NO_SERVICE));
    stage.SignIn();
    CHECK(FoundNoReader(stage, "Kelvor Virtual Smart Card Reader"));
    CHECK(Functions(stage) == std::vector<std::string>{"SCardEstablishContext"});
}

TEST_CASE("Readers that cannot be listed are none")
{
    Stage stage;
    stage.reader.Calls().Fail("SCardListReadersW", static_cast<DWORD>(SCARD_F_COMM_ERROR));
    stage.SignIn();
    CHECK(FoundNoReader(stage, "Kelvor Virtual Smart Card Reader"));
    CHECK(Functions(stage) == std::vector<std::string>{"SCardEstablishContext", "SCardListReadersW",
                                                       "SCardReleaseContext"});
}

TEST_CASE("A list of readers that is null holds none")
{
    Stage stage;
    const ImportPatch nullList(
        stage.Module().Handle(), "SCardListReadersW",
        +[](SCARDCONTEXT, LPCWSTR, LPWSTR, LPDWORD) -> LONG WINAPI { return SCARD_S_SUCCESS; });
    stage.SignIn();
    CHECK(FoundNoReader(stage, "Kelvor Virtual Smart Card Reader"));
}

TEST_CASE("An empty list of readers holds none, even for an empty hint")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"");
    stage.reader.SetReaders({Reader{L"", std::nullopt}});
    stage.SignIn();
    CHECK(FoundNoReader(stage, ""));
}

TEST_CASE("The card is asked for its name in order, and everything is given back")
{
    Stage stage;
    stage.SignIn();
    CHECK(Functions(stage) ==
          std::vector<std::string>{"SCardEstablishContext", "SCardListReadersW", "SCardConnectW",
                                   "SCardStatusW", "SCardListCardsW", "SCardFreeMemory",
                                   "SCardDisconnect", "SCardFreeMemory", "SCardReleaseContext"});
}

TEST_CASE("The readers of the whole system are asked, of every group")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.reader.Calls().Calls("SCardEstablishContext").at(0).argument == L"2");
    CHECK(stage.reader.Calls().Calls("SCardListReadersW").at(0).argument.empty());
}

TEST_CASE("The card is shared, may speak either protocol and stays as it is")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.reader.Calls().Calls("SCardConnectW").at(0).argument ==
          L"Kelvor Virtual Smart Card Reader 0|2|3");
    CHECK(stage.reader.Calls().Calls("SCardDisconnect").at(0).argument == L"0");
}

TEST_CASE("Of several names that are registered for a card the first is taken")
{
    Stage stage;
    stage.reader.SetReaders(
        {{kVirtualReader, ReaderCard{.registeredNames = {L"First Card", L"Second Card"}}}});
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "First Card"));
}

TEST_CASE("A card that nobody registered has no name, and the logon is built")
{
    Stage stage;
    stage.reader.SetReaders({{kVirtualReader, ReaderCard{}}});
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("An empty reader leaves the card without a name, and the logon is built")
{
    Stage stage;
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A card that does not tell its status has no name")
{
    Stage stage;
    stage.reader.Calls().Fail("SCardStatusW", static_cast<DWORD>(SCARD_W_RESET_CARD));
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(stage.reader.Calls().Count("SCardListCardsW") == 0);
    CHECK(stage.reader.Calls().Count("SCardDisconnect") == 1);
}

TEST_CASE("A card whose names cannot be listed has none")
{
    Stage stage;
    stage.reader.Calls().Fail("SCardListCardsW", static_cast<DWORD>(SCARD_F_INTERNAL_ERROR));
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
    CHECK(stage.reader.Calls().Count("SCardFreeMemory") == 1);
}

TEST_CASE("A list of card names that is null names none")
{
    Stage stage;
    const ImportPatch nullList(
        stage.Module().Handle(), "SCardListCardsW",
        +[](SCARDCONTEXT, LPCBYTE, LPCGUID, DWORD, WCHAR*, LPDWORD) -> LONG WINAPI {
            return SCARD_S_SUCCESS;
        });
    stage.SignIn();
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", ""));
}

TEST_CASE("A reader whose name fills the status buffer leaves its card without a name")
{
    Stage stage;
    stage.settings.SetString(L"Reader", L"r");
    stage.reader.SetReaders({WithCard(std::wstring(256, L'r'))});
    stage.SignIn();
    CHECK(Found(stage, std::string(256, 'r'), ""));
}

TEST_CASE("The probe finds a PC with a named card and a logon certificate ready")
{
    UnservedPc stage;
    CHECK(stage.ProbeSays("1"));
}

TEST_CASE("The probe finds a PC without readers not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds an empty reader not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds a card that nobody registered not ready")
{
    UnservedPc stage;
    stage.reader.SetReaders({{kVirtualReader, ReaderCard{}}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe finds a card without a logon certificate not ready")
{
    UnservedPc stage;
    stage.csp.SetCertificates({});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("With a pinned container the probe does not look for a certificate")
{
    UnservedPc stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.csp.SetCertificates({});
    CHECK(stage.ProbeSays("1"));
    CHECK(stage.csp.Calls().Calls().empty());
}

TEST_CASE("A pinned container without a card is not ready")
{
    UnservedPc stage;
    stage.settings.SetString(L"Container", L"pinned");
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    CHECK(stage.ProbeSays("0"));
}

TEST_CASE("The probe asks the configured provider for the certificate, but not for its UPN")
{
    UnservedPc stage;
    stage.settings.SetString(L"Csp", L"Other Card Provider");
    CHECK(stage.ProbeSays("1"));
    CHECK(stage.csp.Calls().Calls("CryptAcquireContextW").at(0).argument ==
          L"Other Card Provider|1|4026531840");
    CHECK(stage.csp.Calls().Count("CertGetNameStringW") == 0);
}

TEST_CASE("A card that was in the reader before is not waited for")
{
    Stage stage;
    stage.SignIn();
    CHECK(stage.clock.Sleeps().empty());
}

TEST_CASE("A swapped card that is visible at once is given two seconds")
{
    SwappingPc stage;
    stage.SignIn();
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>{2000});
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("A swapped card is announced in the log before it is waited for")
{
    SwappingPc stage;
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: the service put 'alice@corp.example' card in the reader - "
                        "waiting for it to settle before reading it."));
}

TEST_CASE("A swapped card that is new is announced as such")
{
    Stage stage;
    stage.service.Answers(
        "armorprovision",
        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true,"didProvision":true})");
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "sclogon: the service put 'alice@corp.example' card in the reader (newly "
                        "set up) - waiting for it to settle before reading it."));
}

TEST_CASE("A swapped card that shows up later is polled for four times a second")
{
    SwappingPc stage;
    stage.reader.SetSource([&clock = stage.clock]() -> std::vector<Reader> {
        if (clock.Sleeps().size() < 3) {
            return {{kVirtualReader, std::nullopt}};
        }
        return {WithCard(kVirtualReader)};
    });
    stage.SignIn();
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>{250, 250, 250, 2000});
    CHECK(Found(stage, "Kelvor Virtual Smart Card Reader 0", "Kelvor Card"));
}

TEST_CASE("A swapped card that never shows up is waited for twelve seconds")
{
    SwappingPc stage;
    stage.reader.SetReaders({{kVirtualReader, std::nullopt}});
    stage.SignIn();
    std::vector<DWORD> wanted(40, 250);
    wanted.push_back(2000);
    CHECK(stage.clock.Sleeps() == wanted);
    CHECK(BuildSucceeded(stage));
}

TEST_CASE("Each poll reads the reader setting afresh")
{
    SwappingPc stage;
    stage.settings.SetString(L"Reader", L"Missing reader");
    stage.reader.SetSource([&]() -> std::vector<Reader> {
        if (stage.clock.Sleeps().size() == 2) {
            stage.settings.SetString(L"Reader", L"Virtual");
        }
        return {WithCard(kVirtualReader)};
    });
    stage.SignIn();
    CHECK(stage.clock.Sleeps() == std::vector<DWORD>{250, 250, 250, 2000});
}
