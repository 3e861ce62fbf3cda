// What LogonUI may call on a tile whose picker asks for one of a key's accounts.
#include "call_order.h"
#include "field_refresh.h"
#include "support/readable_failures.h"
#include "tile_texts.h"

using namespace kelvor::test;
using kelvor::ComRef;

namespace {

constexpr const char* kAbandoned = "account picker: the pending tap was abandoned - scrubbed it.";

Reply Waiting(Reply reply)
{
    reply.waits = true;
    return reply;
}

}  // namespace

TEST_CASE("A PIN typed into a tile that asks for an account is spent by the next click")
{
    ChoiceAwaited stage;
    CHECK(stage.TheTile().Type(Stage::kWidePin) == S_OK);
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 1);
    stage.Collect();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(1).pinGiven);
}

TEST_CASE("Another account chosen while the first is submitted changes nothing")
{
    ChoiceAwaited stage;
    stage.service.AnswersOnce("armorprovision",
                              Waiting(Reply::Line(R"({"ok":true,"upn":"alice@corp.example"})")));
    stage.Click();
    REQUIRE(stage.service.WaitForRequest("armorprovision"));
    CHECK(stage.TheTile().SelectAccount(1) == S_OK);
    stage.service.Proceed();
    stage.WaitForWorker();
    CHECK(stage.service.LastRequest("armorprovision").find(R"("credId":"obLD1A==")") !=
          std::string::npos);
    CHECK(stage.Collect().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("Deselecting while the chosen account is submitted leaves picker and sign-in")
{
    ChoiceAwaited stage;
    stage.service.AnswersOnce("armorprovision",
                              Waiting(Reply::Line(R"({"ok":true,"upn":"alice@corp.example"})")));
    stage.Click();
    REQUIRE(stage.service.WaitForRequest("armorprovision"));
    stage.TheTile().Deselect();
    CHECK(stage.TheTile().ComboItems().size() == 2);
    CHECK_FALSE(stage.log.Has("INFO", kAbandoned));
    stage.service.Proceed();
    stage.WaitForWorker();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A submitted account whose arming fails takes the picker away")
{
    ChoiceAwaited stage;
    stage.service.Answers("armorprovision", R"({"ok":false,"error":"not today"})");
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.TheTile().Events().ComboItems().empty());
    CHECK(stage.TheTile().Events().State(3) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().State(2) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().SubmitAdjacentTo() == 2);
    CHECK(stage.Status() == L"Sign-in failed: not today");
}

TEST_CASE("A failure reported while the choice is open is shown, and the choice stays open")
{
    ChoiceAwaited stage;
    stage.TheTile().Events().Forget();
    stage.Report(kNoSuchUser);
    std::vector<FieldCall> wanted = Refresh(0, 0, 1, 3);
    wanted.insert(wanted.begin(),
                  {{"SetFieldString", 5, 0, kNoSuchUserText, 0}, {"SetFieldString", 2, 0, L"", 0}});
    CHECK(stage.TheTile().Events().Calls() == wanted);
    CHECK(stage.service.Count("disarm") == 1);
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 1);
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A success reported while the choice is open disarms the card and changes nothing")
{
    ChoiceAwaited stage;
    stage.TheTile().Events().Forget();
    stage.Report(0);
    CHECK(stage.service.Count("disarm") == 1);
    CHECK(stage.TheTile().Events().Calls().empty());
    CHECK(stage.TheTile().ComboItems().size() == 2);
}

TEST_CASE("A tile advised again while the choice is open has its rows for whoever reads them")
{
    ChoiceAwaited stage;
    const ComRef<CredentialEvents> second = AdviseAnew(stage);
    stage.TheTile().Events().Forget();
    CHECK(second->Calls().empty());
    CHECK(stage.TheTile().ComboItems() ==
          std::vector<std::wstring>{L"Alice Example", L"Bob Example"});
    stage.Deselect();
    CHECK(second->Calls("DeleteFieldComboBoxItem", 3).size() == 2);
    CHECK(second->State(3) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().Calls().empty());
    stage.LetTilesGo();
    CHECK(second->References() == 1);
}

TEST_CASE("A tile unadvised while the choice is open scrubs the tap when it is deselected")
{
    ChoiceAwaited stage;
    stage.TheTile().UnAdvise();
    stage.TheTile().Events().Forget();
    CHECK(stage.TheTile().ComboItems().size() == 2);
    stage.Deselect();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.TheTile().State(3) == CPFS_HIDDEN);
    CHECK(stage.log.Has("INFO", kAbandoned));
    CHECK(stage.log.Has("WARN",
                        "account picker: visibility change DROPPED: no credential-events object."));
    CHECK(stage.TheTile().Events().Calls().empty());
}

TEST_CASE("A tile unadvised while the choice is open submits the chosen account")
{
    ChoiceAwaited stage;
    stage.TheTile().UnAdvise();
    CHECK(stage.TheTile().SelectAccount(1) == S_OK);
    stage.PutCardOf("bob@corp.example");
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 1);
    CHECK(stage.service.LastRequest("armorprovision").find(R"("credId":"sLE=")") !=
          std::string::npos);
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A provider unadvised while the choice is open leaves a choice that parks")
{
    ChoiceAwaited stage;
    stage.Provider()->UnAdvise();
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.Sink()->Changes().empty());
    CHECK(stage.log.Has("INFO",
                        "async submit: no provider events -- parked for the user's next Sign In "
                        "click."));
    CHECK(stage.TheTile().Click().response == CPGSR_RETURN_CREDENTIAL_FINISHED);
}

TEST_CASE("New tiles do not inherit an open choice, and the old tile keeps it")
{
    ChoiceAwaited stage;
    stage.EnumerateAnew();
    ComRef<ICredentialProviderCredential> anew;
    REQUIRE(stage.Provider()->GetCredentialAt(1, anew.Receive()) == S_OK);
    CHECK(Tile(anew).ComboItems().empty());
    CHECK(stage.TheTile().ComboItems().size() == 2);
    stage.Deselect();
    CHECK(stage.log.Has("INFO", kAbandoned));
}

TEST_CASE("A key that goes while the choice is open takes the button, and the rows stay")
{
    ChoiceAwaited stage;
    stage.Select();
    stage.Poll();
    stage.key.SetPresent(false);
    stage.Poll();
    const CredentialEvents& screen = stage.TheTile().Events();
    CHECK(screen.Text(5) == kNoKeyPrompt);
    CHECK(screen.State(4) == CPFS_HIDDEN);
    CHECK(screen.State(3) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().ComboItems().size() == 2);
    stage.key.SetPresent(true);
    stage.Poll();
    CHECK(screen.Text(5) == kKeyPresentPrompt);
    CHECK(screen.State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(screen.State(2) == CPFS_HIDDEN);
    CHECK(screen.SubmitAdjacentTo() == 3);
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 1);
}

TEST_CASE("A tile deselected during the tap still asks for the account afterwards")
{
    Stage stage(OtherUserTile());
    FakeCredential bob;
    bob.id = {0xB0};
    stage.key.SetCredentials({FakeCredential{}, bob});
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    stage.TheTile().Deselect();
    stage.key.Touch();
    stage.WaitForWorker();
    CHECK(stage.TheTile().ComboItems().size() == 2);
    stage.TheTile().Select();
    CHECK(stage.Status() == L"Choose which account to sign in as, then click Sign In.");
    stage.TheTile().Deselect();
    CHECK(stage.log.Has("INFO", kAbandoned));
}

TEST_CASE("A click that is refused before the tap leaves the choice open")
{
    ChoiceAwaited stage;
    stage.TheTile().SelectAccount(1);
    stage.settings.Remove(L"Enabled");
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.Status() == L"Domain sign-in is not enabled on this PC.");
    CHECK(stage.TheTile().ComboItems().size() == 2);
    CHECK(stage.TheTile().Events().State(2) == CPFS_HIDDEN);
    stage.settings.SetDword(L"Enabled", 1);
    stage.PutCardOf("bob@corp.example");
    stage.Click();
    stage.WaitForWorker();
    CHECK(stage.key.Taps().size() == 1);
    CHECK(stage.AskTileCount().autoLogon);
}

TEST_CASE("A picker that is shown again keeps the choice that was made")
{
    ChoiceAwaited stage;
    stage.TheTile().SelectAccount(1);
    stage.settings.Remove(L"Enabled");
    stage.TheTile().Events().Forget();
    // The blocking way shows the picker again at its end.
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Click();
    const std::vector<FieldCall> chosen =
        stage.TheTile().Events().Calls("SetFieldComboBoxSelectedItem", 3);
    REQUIRE_FALSE(chosen.empty());
    CHECK(chosen.back().number == 1);
    CHECK(stage.TheTile().ComboSelection() == 1);
}

TEST_CASE("A tile with an open choice is let go like any other, with its provider first or last")
{
    for (const bool providerFirst : {true, false}) {
        CAPTURE(providerFirst);
        ChoiceAwaited stage;
        if (providerFirst) {
            stage.LetProviderGo();
        }
        stage.LetTilesGo();
        stage.LetProviderGo();
        CHECK(stage.Module().CanUnloadNow() == S_OK);
        CHECK_FALSE(stage.log.Has("INFO", kAbandoned));
    }
}
