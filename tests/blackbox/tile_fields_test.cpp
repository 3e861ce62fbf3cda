#include "field_refresh.h"
#include "support/readable_failures.h"
#include "support/stage.h"

using kelvor::test::FieldCall;
using kelvor::test::Refresh;
using kelvor::test::Stage;
using kelvor::test::StageOptions;
using kelvor::test::Tile;

namespace {

StageOptions AtUnlock()
{
    StageOptions options;
    options.scenario = CPUS_UNLOCK_WORKSTATION;
    return options;
}

// The first calls that selecting a tile makes of its sink.
std::vector<FieldCall> RefreshOfSelection(Stage& stage)
{
    stage.TheTile().Events().Forget();
    stage.Select();
    std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    REQUIRE(calls.size() >= 4);
    calls.resize(4);
    return calls;
}

}  // namespace

TEST_CASE("A new tile shows its fields in their first states")
{
    struct Row {
        CREDENTIAL_PROVIDER_FIELD_STATE state;
        CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive;
    };
    const Row rows[] = {
        {CPFS_DISPLAY_IN_BOTH, CPFIS_NONE},
        {CPFS_DISPLAY_IN_BOTH, CPFIS_NONE},
        {CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_FOCUSED},
        {CPFS_HIDDEN, CPFIS_NONE},
        {CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_NONE},
        {CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_NONE},
        {CPFS_HIDDEN, CPFIS_NONE},
    };
    Stage stage;
    for (DWORD field = 0; field < 7; ++field) {
        CAPTURE(field);
        CHECK(stage.TheTile().State(field) == rows[field].state);
        CHECK(stage.TheTile().InteractiveState(field) == rows[field].interactive);
    }
}

TEST_CASE("A new tile shows its first texts")
{
    Stage stage;
    Tile& tile = stage.TheTile();
    CHECK(tile.Text(1) == L"Sign in with security key");
    CHECK(tile.Text(2) == L"");
    CHECK(tile.Text(3) == L"");
    CHECK(tile.Text(4) == L"Sign In");
    CHECK(tile.Text(5) == L"");
    CHECK(tile.Text(6) == L"Click Sign In to finish.");
}

TEST_CASE("A field behind the last one has no state")
{
    Stage stage;
    auto state = CPFS_DISPLAY_IN_BOTH;
    auto interactive = CPFIS_FOCUSED;
    CHECK(stage.TheTile()->GetFieldState(7, &state, &interactive) == E_INVALIDARG);
}

TEST_CASE("A field behind the last one has no text")
{
    Stage stage;
    auto* text = reinterpret_cast<wchar_t*>(&stage);
    CHECK(stage.TheTile()->GetStringValue(7, &text) == E_INVALIDARG);
    CHECK(text == nullptr);
}

TEST_CASE("Laying out the status line is noted once a tile")
{
    Stage stage(AtUnlock());
    stage.TheTile().State(5);
    stage.TheTile().State(5);
    CHECK(stage.log.Count("INFO",
                          "GetFieldState(SFI_STATUS_TEXT): LogonUI is laying the status line out "
                          "(cpfs=1).") == 1);
}

TEST_CASE("Reading the status line is noted once a tile")
{
    Stage stage(AtUnlock());
    stage.TheTile().Text(5);
    stage.TheTile().Text(5);
    CHECK(stage.log.Count("INFO",
                          "GetStringValue(SFI_STATUS_TEXT): LogonUI read the status line "
                          "(hr=0x00000000).") == 1);
}

TEST_CASE("The tile image is a picture of at least 128 by 128")
{
    Stage stage;
    HBITMAP bitmap = nullptr;
    REQUIRE(stage.TheTile()->GetBitmapValue(0, &bitmap) == S_OK);
    BITMAP picture = {};
    CHECK(GetObjectW(bitmap, sizeof picture, &picture) == sizeof picture);
    CHECK(picture.bmWidth >= 128);
    CHECK(picture.bmHeight >= 128);
    DeleteObject(bitmap);
}

TEST_CASE("Only the tile image has a picture")
{
    Stage stage;
    auto bitmap = reinterpret_cast<HBITMAP>(&stage);
    CHECK(stage.TheTile()->GetBitmapValue(1, &bitmap) == E_INVALIDARG);
    CHECK(bitmap == nullptr);
}

TEST_CASE("A tile has no checkbox")
{
    Stage stage;
    BOOL isChecked = TRUE;
    auto* label = reinterpret_cast<wchar_t*>(&stage);
    CHECK(stage.TheTile()->GetCheckboxValue(0, &isChecked, &label) == E_INVALIDARG);
    CHECK_FALSE(isChecked);
    CHECK(label == nullptr);
    CHECK(stage.TheTile()->SetCheckboxValue(0, TRUE) == E_INVALIDARG);
}

TEST_CASE("A tile has no command link")
{
    Stage stage;
    CHECK(stage.TheTile()->CommandLinkClicked(0) == E_INVALIDARG);
}

TEST_CASE("The submit button stands beside the PIN at first")
{
    Stage stage;
    DWORD adjacentTo = 99;
    CHECK(stage.TheTile()->GetSubmitButtonValue(4, &adjacentTo) == S_OK);
    CHECK(adjacentTo == 2);
}

TEST_CASE("Only field 4 is a submit button")
{
    Stage stage;
    DWORD adjacentTo = 99;
    CHECK(stage.TheTile()->GetSubmitButtonValue(3, &adjacentTo) == E_INVALIDARG);
}

TEST_CASE("Only the PIN can be typed")
{
    Stage stage;
    for (const DWORD field : {0U, 1U, 3U, 4U, 5U, 6U, 7U}) {
        CAPTURE(field);
        CHECK(stage.TheTile()->SetStringValue(field, L"text") == E_INVALIDARG);
    }
}

TEST_CASE("A typed PIN does not show up in the field's text")
{
    Stage stage;
    stage.TypePin();
    CHECK(stage.TheTile().Text(2) == L"");
}

TEST_CASE("The PIN typed last counts")
{
    Stage stage;
    stage.TypePin(L"0000");
    stage.TypePin();
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("A PIN of letters beyond ASCII reaches the key in UTF-8")
{
    Stage stage;
    stage.key.SetPin("gr\xC3\xBC\xC3\x9F \xF0\x9F\x94\x91");
    stage.TypePin(L"gr\x00FC\x00DF \xD83D\xDD11");
    stage.SignIn();
    CHECK(stage.key.Taps().at(0).pinRight);
}

TEST_CASE("A PIN typed while a sign-in is in flight is dropped")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    CHECK(stage.TheTile().Type(L"9999") == S_OK);
    stage.key.Touch();
    stage.WaitForWorker();
    stage.Collect();
    stage.Click();
    stage.WaitForWorker();
    REQUIRE(stage.key.Taps().size() == 2);
    CHECK(stage.key.Taps()[0].pinRight);
    CHECK_FALSE(stage.key.Taps()[1].pinGiven);
}

TEST_CASE("Selecting a tile with a key present offers the PIN and the button beside it")
{
    Stage stage;
    CHECK(RefreshOfSelection(stage) == Refresh(1, 0, 1, 2));
}

TEST_CASE("Selecting a tile without a key hides the PIN and the button")
{
    Stage stage;
    stage.key.SetPresent(false);
    CHECK(RefreshOfSelection(stage) == Refresh(0, 0, 0, 2));
}

TEST_CASE("A click hides the PIN and keeps the button while a key is present")
{
    Stage stage;
    stage.key.HoldTouch();
    stage.TypePin();
    stage.TheTile().Events().Forget();
    stage.Click();
    REQUIRE(stage.key.WaitForTouchPrompt());
    std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    calls.resize(4);
    CHECK(calls == Refresh(0, 0, 1, 2));
    stage.key.Touch();
    stage.WaitForWorker();
}

TEST_CASE("The fields that a refresh shows are the fields that LogonUI reads afterwards")
{
    Stage stage;
    stage.key.SetPresent(false);
    stage.Select();
    CHECK(stage.TheTile().State(2) == CPFS_HIDDEN);
    CHECK(stage.TheTile().State(4) == CPFS_HIDDEN);
    CHECK(stage.TheTile().State(6) == CPFS_HIDDEN);
}

TEST_CASE(
    "A finished sign-in of the Other user tile shows the finish text and the button beside it")
{
    StageOptions options;
    options.otherUser = true;
    Stage stage(options);
    stage.SignIn();
    CHECK(stage.TheTile().Events().State(2) == CPFS_HIDDEN);
    CHECK(stage.TheTile().Events().State(6) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().State(4) == CPFS_DISPLAY_IN_SELECTED_TILE);
    CHECK(stage.TheTile().Events().SubmitAdjacentTo() == 6);
    CHECK(stage.TheTile().State(6) == CPFS_DISPLAY_IN_SELECTED_TILE);
}

TEST_CASE("Collecting after the key was taken away hides PIN and button")
{
    Stage stage;
    stage.SignIn();
    stage.key.SetPresent(false);
    stage.TheTile().Events().Forget();
    stage.Collect();
    CHECK(stage.TheTile().Events().Calls() == Refresh(0, 0, 0, 2));
}

TEST_CASE("Collecting the credential takes the finish text away and keeps the PIN hidden")
{
    Stage stage;
    stage.SignIn();
    stage.TheTile().Events().Forget();
    stage.Collect();
    CHECK(stage.TheTile().Events().Calls() == Refresh(0, 0, 1, 2));
}

TEST_CASE("A failed sign-in empties the PIN field and offers it again")
{
    Stage stage;
    stage.key.SetBeginCode(0x31);
    stage.SignIn();
    const std::vector<FieldCall> calls = stage.TheTile().Events().Calls();
    const std::vector<FieldCall> last(calls.end() - 5, calls.end());
    std::vector<FieldCall> wanted = Refresh(1, 0, 1, 2);
    wanted.insert(wanted.begin(), {"SetFieldString", 2, 0, L"", 0});
    CHECK(last == wanted);
}

TEST_CASE("A null output pointer of a tile is refused")
{
    Stage stage;
    Tile& tile = stage.TheTile();
    CHECK(tile->GetStringValue(1, nullptr) == E_POINTER);
    CHECK(tile->GetFieldState(1, nullptr, nullptr) == E_POINTER);
    CHECK(tile->GetSerialization(nullptr, nullptr, nullptr, nullptr) == E_POINTER);
    CHECK(tile->SetSelected(nullptr) == E_POINTER);
}
