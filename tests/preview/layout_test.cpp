#include "preview/layout.h"

#include <doctest.h>

#include <algorithm>

using namespace kelvor::simulator;

namespace {

constexpr int kWidth = 900;

enum FieldId : DWORD { kImage, kTitle, kPin, kAccounts, kButton, kStatus, kFinish };

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
    tile.fields = {Field(CPFT_TILE_IMAGE, L"Image", L""),
                   Field(CPFT_LARGE_TEXT, L"Title", L"Sign in"),
                   Field(CPFT_PASSWORD_TEXT, L"PIN", L""),
                   Field(CPFT_COMBOBOX, L"Account", L""),
                   Field(CPFT_SUBMIT_BUTTON, L"Sign In", L""),
                   Field(CPFT_SMALL_TEXT, kStatusLabel, L"Touch."),
                   Field(CPFT_SMALL_TEXT, L"Finish", L"Click.")};
    tile.fields[kImage].image = TileImage(new UniqueBitmap());
    tile.fields[kAccounts].state = CPFS_HIDDEN;
    tile.fields[kFinish].state = CPFS_HIDDEN;
    tile.fields[kButton].adjacentTo = kPin;
    return tile;
}

std::vector<Piece> Placed(const Tile& tile, const std::wstring& owner = L"")
{
    return LayOut(tile, owner, kWidth, [](FontRole, std::wstring_view text, int width) {
        const int chars = static_cast<int>(text.size());
        return SIZE{std::min(10 * chars, width), 20 * (1 + 10 * chars / width)};
    });
}

const Piece& Find(const std::vector<Piece>& pieces, PieceKind kind, std::size_t field)
{
    const auto found = std::ranges::find_if(
        pieces, [&](const Piece& piece) { return piece.kind == kind && piece.field == field; });
    REQUIRE(found != pieces.end());
    return *found;
}

bool Has(const std::vector<Piece>& pieces, PieceKind kind)
{
    return std::ranges::find(pieces, kind, &Piece::kind) != pieces.end();
}

bool StandsBeside(const Piece& button, const Piece& piece)
{
    return button.place.left >= piece.place.right && button.place.top < piece.place.bottom &&
           piece.place.top < button.place.bottom;
}

}  // namespace

TEST_CASE("Fields stand one below the other in the order of their ids, in the middle")
{
    const auto pieces = Placed(SelectedTile());
    int bottom = 0;
    for (const PieceKind kind :
         {PieceKind::kImage, PieceKind::kLargeText, PieceKind::kInput, PieceKind::kSmallText}) {
        const auto piece = std::ranges::find(pieces, kind, &Piece::kind);
        REQUIRE(piece != pieces.end());
        CHECK(piece->place.top > bottom);
        CHECK(piece->place.left + piece->place.right == kWidth);
        bottom = piece->place.bottom;
    }
}

TEST_CASE("A hidden field takes no place")
{
    const auto pieces = Placed(SelectedTile());
    CHECK(std::ranges::none_of(pieces, [](const Piece& piece) {
        return piece.field == kAccounts || piece.field == kFinish;
    }));
}

TEST_CASE("The button stands beside the PIN, the accounts or the last text, as the provider says")
{
    Tile tile = SelectedTile();
    const auto withPin = Placed(tile);
    CHECK(StandsBeside(Find(withPin, PieceKind::kButton, kButton),
                       Find(withPin, PieceKind::kInput, kPin)));

    tile.fields[kPin].state = CPFS_HIDDEN;
    tile.fields[kAccounts].state = CPFS_DISPLAY_IN_SELECTED_TILE;
    tile.fields[kButton].adjacentTo = kAccounts;
    const auto withAccounts = Placed(tile);
    CHECK(StandsBeside(Find(withAccounts, PieceKind::kButton, kButton),
                       Find(withAccounts, PieceKind::kInput, kAccounts)));

    tile.fields[kAccounts].state = CPFS_HIDDEN;
    tile.fields[kFinish].state = CPFS_DISPLAY_IN_SELECTED_TILE;
    tile.fields[kButton].adjacentTo = kFinish;
    const auto withFinish = Placed(tile);
    CHECK(StandsBeside(Find(withFinish, PieceKind::kButton, kButton),
                       Find(withFinish, PieceKind::kSmallText, kFinish)));
}

TEST_CASE("The button stands by itself where the field beside it is hidden")
{
    Tile tile = SelectedTile();
    tile.fields[kPin].state = CPFS_HIDDEN;
    const auto pieces = Placed(tile);
    const Piece& button = Find(pieces, PieceKind::kButton, kButton);
    CHECK(button.place.left + button.place.right == kWidth);
    CHECK(button.place.bottom < Find(pieces, PieceKind::kSmallText, kStatus).place.top);
}

TEST_CASE("A hidden button stands nowhere")
{
    Tile tile = SelectedTile();
    tile.fields[kButton].state = CPFS_HIDDEN;
    CHECK_FALSE(Has(Placed(tile), PieceKind::kButton));
}

TEST_CASE("Only a status text that came with an icon has a sign, to its left")
{
    Tile tile = SelectedTile();
    CHECK_FALSE(Has(Placed(tile), PieceKind::kStatusSign));
    tile.icon = CPSI_WARNING;
    const auto pieces = Placed(tile);
    CHECK(StandsBeside(Find(pieces, PieceKind::kSmallText, kStatus),
                       Find(pieces, PieceKind::kStatusSign, kStatus)));
}

TEST_CASE("An empty status line has no sign and takes no place")
{
    Tile tile = SelectedTile();
    tile.icon = CPSI_ERROR;
    tile.fields[kStatus].text.clear();
    const auto pieces = Placed(tile);
    CHECK_FALSE(Has(pieces, PieceKind::kStatusSign));
    CHECK_FALSE(Has(pieces, PieceKind::kSmallText));
}

TEST_CASE("The user of a tile stands above its title, and nothing where there is none")
{
    const auto pieces = Placed(SelectedTile(), L"CORP\\alice");
    CHECK(Find(pieces, PieceKind::kOwner, kTitle).place.bottom <
          Find(pieces, PieceKind::kLargeText, kTitle).place.top);
    CHECK_FALSE(Has(Placed(SelectedTile()), PieceKind::kOwner));
}

TEST_CASE("A long status text breaks into lines and stays on the screen")
{
    Tile tile = SelectedTile();
    tile.fields[kStatus].text = std::wstring(300, L'w');
    const auto pieces = Placed(tile);
    const RECT& place = Find(pieces, PieceKind::kSmallText, kStatus).place;
    CHECK(place.left > 0);
    CHECK(place.right < kWidth);
    CHECK(place.bottom - place.top > 20);
}
