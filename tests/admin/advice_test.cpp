// What the tool makes of the page of troubleshooting.
#include "advice/advice_book.h"

#include <doctest.h>

#include "advice/page_table.h"

using namespace kelvor::admin;

namespace {

// The page as short as it can be.
const AdviceBook& SmallBook()
{
    static const AdviceBook book(
        "## By text\n\n"
        "| text | cause | what to do |\n|---|---|---|\n"
        "| \"the card service is busy; try again\" | nobody was free | wait |\n"
        "| \"one\", \"that key is another's — use the \"Other user\" tile\" | mixed up? | change |\n"
        "\n### NTSTATUS: of the domain\n\n"
        "| code | text | cause | on this PC | on the domain controller |\n|---|---|---|---|---|\n"
        "| 0xC0000064 `NO_SUCH_USER` | \"Unknown.\" | it is new | look | run `map -it`. Twice |\n"
        "| 0xC000006D `LOGON_FAILURE` | | it was refused | | as for 0xC0000064 |\n"
        "\n### HRESULT: of the module\n\n"
        "| code | text | cause | what to do |\n|---|---|---|---|\n"
        "| 0x800700E7 `PIPE_BUSY` | \"the card service is busy; try again\" | | |\n"
        "| 0x80004005 `E_FAIL` | | *broken* | see [there](page.md#part) |\n"
        "\n### Codes of the security key\n\n"
        "| code | text | cause | what to do |\n|---|---|---|---|\n"
        "| -2 `FIDO_ERR_RX` | \"one\" | a wire | |\n");
    return book;
}

}  // namespace

TEST_CASE("Advice is found by the text on the tile, whatever stands before it")
{
    const Advice* busy = SmallBook().For("Sign-in failed: the card service is busy; try again");
    REQUIRE(busy != nullptr);
    CHECK(busy->cause == "Nobody was free.");
    CHECK(busy->remedy == "Wait.");
    const Advice* tile = SmallBook().For("that key is another's — use the \"Other user\" tile");
    REQUIRE(tile != nullptr);
    CHECK(tile->cause == "Mixed up?");
    CHECK(tile->remedy == "Change.");
    CHECK(SmallBook().For("the service's own words") == nullptr);
}

TEST_CASE("Advice for a code tells what to do on each side, and serves its text, too")
{
    const CodeAdvice* unknown = SmallBook().For(CodeFamily::kNtStatus, 0xC0000064);
    REQUIRE(unknown != nullptr);
    CHECK(unknown->name == "NO_SUCH_USER");
    CHECK(unknown->text == "Unknown.");
    CHECK(unknown->advice.cause == "It is new.");
    CHECK(unknown->advice.remedy ==
          "On this PC: Look. On the domain controller: Run \"map -it\". Twice.");
    const Advice* shown = SmallBook().For("Unknown.");
    REQUIRE(shown != nullptr);
    CHECK(shown->remedy == unknown->advice.remedy);
}

TEST_CASE("A cell that names another code stands for the same cell of that code")
{
    const CodeAdvice* refused = SmallBook().For(CodeFamily::kNtStatus, 0xC000006D);
    REQUIRE(refused != nullptr);
    CHECK(refused->text.empty());
    CHECK(refused->advice.remedy == "On the domain controller: Run \"map -it\". Twice.");
}

TEST_CASE("What is left out beside a code is what stands beside its text")
{
    const CodeAdvice* busy = SmallBook().For(CodeFamily::kHresult, 0x800700E7);
    REQUIRE(busy != nullptr);
    CHECK(busy->advice.cause == "Nobody was free.");
    CHECK(busy->advice.remedy == "Wait.");
    const CodeAdvice* received = SmallBook().For(CodeFamily::kKeyCode, static_cast<unsigned>(-2));
    REQUIRE(received != nullptr);
    CHECK(received->advice.cause == "A wire.");
    CHECK(received->advice.remedy == "Change.");
}

TEST_CASE("A code is known to its own family alone, and the page's marks are gone")
{
    const CodeAdvice* failed = SmallBook().For(CodeFamily::kHresult, 0x80004005);
    REQUIRE(failed != nullptr);
    CHECK(failed->advice.cause == "Broken.");
    CHECK(failed->advice.remedy == "See there.");
    CHECK(SmallBook().For(CodeFamily::kNtStatus, 0x80004005) == nullptr);
    CHECK(SmallBook().For(CodeFamily::kSystemError, 2) == nullptr);
}

TEST_CASE("Each code of the page has a name, a cause and something to do")
{
    CHECK(TheAdviceBook().AllCodes().size() > 100);
    for (const auto& entry : TheAdviceBook().AllCodes()) {
        const CodeAdvice& code = entry.second;
        CAPTURE(code.name);
        CHECK(code.name.size() > 3);
        CHECK(code.advice.cause.ends_with('.'));
        CHECK(code.advice.remedy.ends_with('.'));
        CHECK(code.advice.remedy.find("s for 0x") != 0);
    }
}

TEST_CASE("A table ends where its lines end, and cells that are missing are empty")
{
    const std::vector<PageRow> rows =
        ReadTables("# First\n| a | b |\n|---|---|\n| 1 | 2 |\n| 3 |\n\n| c |\n|---|\n| 4 |\n");
    REQUIRE(rows.size() == 3);
    CHECK(rows[0].heading == "First");
    CHECK(rows[0].Cell("b") == "2");
    CHECK(rows[1].Cell("a") == "3");
    CHECK(rows[1].Cell("b").empty());
    CHECK(rows[2].Cell("c") == "4");
    CHECK(rows[2].Cell("a").empty());
}
