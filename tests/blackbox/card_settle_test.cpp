// Waiting for a card that the card service has just put into the reader.

#include <string>
#include <vector>

#include "build_failure.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::simulator::Reader;
using kelvor::simulator::ReaderCard;
using kelvor::test::BuildSucceeded;
using kelvor::test::Stage;

namespace {

constexpr const wchar_t* kVirtualReader = L"Kelvor Virtual Smart Card Reader 0";

Reader WithCard(std::wstring name)
{
    return {std::move(name), ReaderCard{.registeredNames = {L"Kelvor Card"}}};
}

// The card service loads the account's card into the reader over the sign-in.
struct SwappingPc : Stage {
    SwappingPc()
    {
        service.Answers("armorprovision",
                        R"({"ok":true,"upn":"alice@corp.example","cardSwapped":true})");
    }
};

}  // namespace

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
    CHECK(stage.log.HasBeginning("INFO",
                                 "sclogon: reader='Kelvor Virtual Smart Card Reader 0' "
                                 "card='Kelvor Card' "));
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
