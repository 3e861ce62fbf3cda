#include "logonui/tile_view.h"

#include <doctest.h>

#include <string>

using namespace kelvor::simulator;

namespace {

TileField Field(CREDENTIAL_PROVIDER_FIELD_TYPE type, const wchar_t* label, const wchar_t* text)
{
    TileField field;
    field.type = type;
    field.label = label;
    field.text = text;
    field.state = CPFS_DISPLAY_IN_SELECTED_TILE;
    return field;
}

Tile SelectedTile()
{
    Tile tile;
    tile.selected = true;
    tile.fields = {Field(CPFT_LARGE_TEXT, L"Title", L"Sign in with a key"),
                   Field(CPFT_PASSWORD_TEXT, L"PIN", L""), Field(CPFT_COMBOBOX, L"Account", L""),
                   Field(CPFT_SUBMIT_BUTTON, L"Sign In", L"Sign In"),
                   Field(CPFT_SMALL_TEXT, kStatusLabel, L"Touch your key.")};
    tile.fields[2].state = CPFS_HIDDEN;
    tile.fields[3].adjacentTo = 1;
    return tile;
}

std::string Drawn(const Tile& tile)
{
    std::string text;
    for (const std::string& line : DrawTile(tile)) {
        text += line + "\n";
    }
    return text;
}

}  // namespace

TEST_CASE("A typed PIN is drawn as dots")
{
    Tile tile = SelectedTile();
    tile.fields[1].typedChars = 4;
    CHECK(Drawn(tile).find("PIN  [ ••••  ") != std::string::npos);
}

TEST_CASE("Hidden fields are not drawn, and neither is a hidden button")
{
    Tile tile = SelectedTile();
    CHECK(Drawn(tile).find("Account") == std::string::npos);
    CHECK(Drawn(tile).find("( Sign In )") != std::string::npos);
    tile.fields[3].state = CPFS_HIDDEN;
    CHECK(Drawn(tile).find("( Sign In )") == std::string::npos);
}

TEST_CASE("A combo box shows its rows with the chosen one marked and the button beside it")
{
    Tile tile = SelectedTile();
    tile.fields[2].state = CPFS_DISPLAY_IN_SELECTED_TILE;
    tile.fields[2].rows = {L"Alice", L"Bob"};
    tile.fields[2].selectedRow = 1;
    tile.fields[3].adjacentTo = 2;
    const std::string text = Drawn(tile);
    CHECK(text.find("Account  [ Bob ▾ ]   ( Sign In )") != std::string::npos);
    CHECK(text.find("1   Alice") != std::string::npos);
    CHECK(text.find("2 › Bob") != std::string::npos);
}

TEST_CASE("The status line carries its icon")
{
    Tile tile = SelectedTile();
    tile.icon = CPSI_ERROR;
    CHECK(Drawn(tile).find("[x] Touch your key.") != std::string::npos);
}

TEST_CASE("Every line of a tile ends in the same column, however long its texts are")
{
    Tile tile = SelectedTile();
    tile.fields[4].text =
        L"Contacting the domain… this is taking longer than usual. Check this "
        L"PC's network or VPN connection.";
    for (const std::string& line : DrawTile(tile)) {
        std::size_t columns = 0;
        for (const char unit : line) {
            columns += (unit & 0xC0) != 0x80 ? 1 : 0;
        }
        CHECK(columns == 76);
    }
}
