// Finding the reader and the card for the logon.

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
