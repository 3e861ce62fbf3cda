#include "support/readable_failures.h"
#include "support/stage.h"
#include "tile_texts.h"

using kelvor::test::CredentialEvents;
using kelvor::test::FakeCredential;
using kelvor::test::FieldCall;
using kelvor::test::Reply;
using kelvor::test::Stage;
using kelvor::test::StageOptions;

namespace {

FakeCredential Named(const char* userName, const char* displayName, unsigned char id)
{
    FakeCredential credential;
    credential.userName = userName;
    credential.displayName = displayName;
    credential.id = {id};
    credential.hmacSeed = id;
    return credential;
}

StageOptions OtherUser(bool advisesTiles = true)
{
    StageOptions options;
    options.otherUser = true;
    options.advisesTiles = advisesTiles;
    return options;
}

// The Other user tile after the tap of a key with two accounts.
struct PickerUp : Stage {
    explicit PickerUp(StageOptions options = OtherUser()) : Stage(std::move(options))
    {
        key.SetCredentials(
            {Named("CORP\\alice", "Alice Example", 0xA1), Named("CORP\\bob", "Bob Example", 0xB0)});
        SignIn();
    }
};

std::vector<FieldCall> OfPicker(const CredentialEvents& events)
{
    std::vector<FieldCall> calls = events.Calls();
    std::erase_if(calls, [](const FieldCall& call) { return call.field != 3; });
    return calls;
}

}  // namespace

TEST_CASE("A key with two accounts offers their display names, the first selected")
{
    PickerUp stage;
    const std::vector<std::wstring> names = {L"Alice Example", L"Bob Example"};
    CHECK(stage.TheTile().ComboItems() == names);
    CHECK(stage.TheTile().ComboSelection() == 0);
    CHECK(stage.TheTile().Events().ComboItems() == names);
    CHECK(stage.TheTile().Events().ComboSelection() == 0);
}

TEST_CASE("The picker is noted when it is shown")
{
    PickerUp stage;
    CHECK(stage.log.Has("INFO",
                        "account picker: the tapped key holds 2 accounts - asking the user which "
                        "one."));
    CHECK(stage.log.Has("INFO",
                        "account picker: combo state -> 1 with 2 row(s) (SetFieldState "
                        "hr=0x00000000)"));
}

TEST_CASE("An account without a display name is offered by its account name")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("CORP\\alice", "", 1), Named("CORP\\bob", "Bob", 2)});
    stage.SignIn();
    CHECK(stage.TheTile().ComboItems().at(0) == L"CORP\\alice");
}

TEST_CASE("An account without any name is offered as an unnamed one")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("", "", 1), Named("CORP\\bob", "Bob", 2)});
    stage.SignIn();
    CHECK(stage.TheTile().ComboItems().at(0) == L"(unnamed account on this key)");
}

TEST_CASE("The picker hides the PIN and takes the button beside itself")
{
    PickerUp stage;
    CHECK(stage.TheTile().Events().State(3) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().State(2) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().SubmitAdjacentTo() == 3);
}

TEST_CASE("The picker is filled before it is shown")
{
    PickerUp stage;
    CHECK(OfPicker(stage.TheTile().Events()) ==
          std::vector<FieldCall>{{"AppendFieldComboBoxItem", 3, 0, L"Alice Example", 0},
                                 {"AppendFieldComboBoxItem", 3, 0, L"Bob Example", 0},
                                 {"SetFieldComboBoxSelectedItem", 3, 0, {}, 0},
                                 {"SetFieldState", 3, 1, {}, 0}});
}

TEST_CASE("A row within the list can be selected")
{
    PickerUp stage;
    CHECK(stage.TheTile().SelectAccount(1) == S_OK);
    CHECK(stage.TheTile().ComboSelection() == 1);
    CHECK(stage.log.Has("INFO", "SetComboBoxSelectedValue: account row 1 selected (inRange=1)."));
}

TEST_CASE("A row behind the last one is refused and the selection stays")
{
    PickerUp stage;
    stage.TheTile().SelectAccount(1);
    CHECK(stage.TheTile().SelectAccount(5) == E_INVALIDARG);
    CHECK(stage.TheTile().ComboSelection() == 1);
    CHECK(stage.log.Has("INFO", "SetComboBoxSelectedValue: account row 5 selected (inRange=0)."));
}

TEST_CASE("A row number at the end of the list is refused")
{
    PickerUp stage;
    CHECK(stage.TheTile().SelectAccount(2) == E_INVALIDARG);
}

TEST_CASE("Only field 3 is a picker")
{
    PickerUp stage;
    DWORD count = 9;
    DWORD selected = 9;
    auto* text = reinterpret_cast<wchar_t*>(&stage);
    CHECK(stage.TheTile()->GetComboBoxValueCount(2, &count, &selected) == E_INVALIDARG);
    CHECK(count == 0);
    CHECK(selected == 0);
    CHECK(stage.TheTile()->GetComboBoxValueAt(2, 0, &text) == E_INVALIDARG);
    CHECK(text == nullptr);
    CHECK(stage.TheTile()->SetComboBoxSelectedValue(2, 0) == E_INVALIDARG);
}

TEST_CASE("A row behind the last one has no text")
{
    PickerUp stage;
    auto* text = reinterpret_cast<wchar_t*>(&stage);
    CHECK(stage.TheTile()->GetComboBoxValueAt(3, 2, &text) == E_INVALIDARG);
    CHECK(text == nullptr);
}

TEST_CASE("A tile without a picker has no rows")
{
    Stage stage;
    DWORD count = 9;
    DWORD selected = 9;
    CHECK(stage.TheTile()->GetComboBoxValueCount(3, &count, &selected) == S_OK);
    CHECK(count == 0);
    CHECK(selected == 0);
}

TEST_CASE("A picker that is applied again replaces LogonUI's items instead of adding to them")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("a", "Alice", 1), Named("b", "Bob", 2)});
    stage.TypePin();
    // The blocking way applies the picker when it is shown and once more at its end.
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Click();
    CHECK(stage.TheTile().Events().Calls("AppendFieldComboBoxItem", 3).size() >= 4);
    CHECK(stage.TheTile().Events().ComboItems() == std::vector<std::wstring>{L"Alice", L"Bob"});
}

TEST_CASE("LogonUI's items are deleted from the last to the first")
{
    PickerUp stage;
    stage.TheTile().Events().Forget();
    stage.Deselect();
    CHECK(OfPicker(stage.TheTile().Events()) ==
          std::vector<FieldCall>{{"DeleteFieldComboBoxItem", 3, 1, {}, 0},
                                 {"DeleteFieldComboBoxItem", 3, 0, {}, 0},
                                 {"SetFieldState", 3, 0, {}, 0}});
}

TEST_CASE("Deselecting abandons the tap, hides the picker and notes it")
{
    PickerUp stage;
    stage.Deselect();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.TheTile().State(3) == CPFS_HIDDEN);
    CHECK(stage.log.Has("INFO", "account picker: the pending tap was abandoned - scrubbed it."));
    CHECK(stage.log.Has("INFO",
                        "account picker: combo state -> 0 with 0 row(s) (SetFieldState "
                        "hr=0x00000000)"));
}

TEST_CASE("After an abandoned tap the next click taps again")
{
    PickerUp stage;
    stage.Deselect();
    stage.SignIn();
    CHECK(stage.key.Taps().size() == 2);
}

TEST_CASE("Deselecting without a pending tap notes none")
{
    Stage stage;
    stage.Select();
    stage.Deselect();
    CHECK_FALSE(
        stage.log.Has("INFO", "account picker: the pending tap was abandoned - scrubbed it."));
}

TEST_CASE("Selecting again while the picker is up asks for the choice")
{
    PickerUp stage;
    stage.Select();
    CHECK(stage.Status() == L"Choose which account to sign in as, then click Sign In.");
}

TEST_CASE("Showing the picker clears the PIN")
{
    PickerUp stage;
    CHECK(stage.TheTile().Events().Text(2).empty());
    stage.Deselect();
    stage.Select();
    stage.Click();
    stage.WaitForWorker();
    CHECK_FALSE(stage.key.Taps().at(1).pinGiven);
}

TEST_CASE("Items that LogonUI does not take are not counted and not selected")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("a", "Alice", 1), Named("b", "Bob", 2)});
    stage.TheTile().Events().Fail("AppendFieldComboBoxItem", E_FAIL);
    stage.SignIn();
    CHECK(stage.TheTile().Events().Calls("SetFieldComboBoxSelectedItem", 3).empty());
    CHECK(stage.log.Has("INFO",
                        "account picker: combo state -> 1 with 0 row(s) (SetFieldState "
                        "hr=0x00000000)"));
    CHECK(stage.TheTile().ComboItems().size() == 2);
}

TEST_CASE("The selection sent to LogonUI stays within the items that it took")
{
    PickerUp stage;
    CHECK(stage.TheTile().SelectAccount(1) == S_OK);
    Reply held = Reply::Line(R"({"ok":true,"upn":"bob@corp.example"})");
    held.waits = true;
    stage.service.Answers("armorprovision", held);
    CredentialEvents& events = stage.TheTile().Events();
    events.Forget();
    events.SetOnCall([&](const FieldCall& call) {
        if (call.text == L"Bob Example") {
            events.Fail("AppendFieldComboBoxItem", E_FAIL);
        } else if (call.method == "SetFieldComboBoxSelectedItem") {
            stage.service.Proceed();
        }
    });
    // The blocking way applies the picker again while the choice is being submitted.
    stage.threads.Calls().Fail("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1);
    stage.Click();
    events.SetOnCall({});
    const auto selections = events.Calls("SetFieldComboBoxSelectedItem", 3);
    REQUIRE_FALSE(selections.empty());
    CHECK(selections.front().number == 0);
    CHECK(stage.log.Has("INFO",
                        "GetSerialization: submitting account row 1 from the earlier tap "
                        "(no second touch)."));
}

TEST_CASE("A picker that LogonUI refuses to show is noted with the reason")
{
    Stage stage(OtherUser());
    stage.key.SetCredentials({Named("a", "Alice", 1), Named("b", "Bob", 2)});
    stage.TheTile().Events().Fail("SetFieldState", E_ACCESSDENIED);
    stage.SignIn();
    CHECK(stage.log.Has("INFO",
                        "account picker: combo state -> 1 with 2 row(s) (SetFieldState "
                        "hr=0x80070005)"));
}

TEST_CASE("Without a sink the picker's rows are right and the loss is noted")
{
    PickerUp stage(OtherUser(false));
    CHECK(stage.TheTile().ComboItems() ==
          std::vector<std::wstring>{L"Alice Example", L"Bob Example"});
    CHECK(stage.log.Has("WARN",
                        "account picker: visibility change DROPPED: no credential-events object."));
}

TEST_CASE("A user's own tile never asks for an account")
{
    Stage stage;
    stage.key.SetCredentials({Named("CORP\\alice", "Alice", 1), Named("CORP\\bob", "Bob", 2)});
    stage.SignIn();
    CHECK(stage.TheTile().ComboItems().empty());
    CHECK(stage.AskTileCount().autoLogon);
}
