#include "logonui/tile_view.h"

#include <algorithm>

#include "logonui/console_text.h"
#include "text/utf8.h"

namespace kelvor::simulator {
namespace {

constexpr std::size_t kWidth = 74;  // columns between the two frame lines
constexpr std::size_t kIndent = 6;  // room for the tile image

struct IconMark {
    CREDENTIAL_PROVIDER_STATUS_ICON icon;
    const char* mark;
};
constexpr IconMark kIconMarks[] = {
    {CPSI_ERROR, "[x] "},
    {CPSI_WARNING, "[!] "},
    {CPSI_SUCCESS, "[✓] "},
};

std::string Repeat(const char* text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string Mark(CREDENTIAL_PROVIDER_STATUS_ICON icon)
{
    for (const IconMark& row : kIconMarks) {
        if (row.icon == icon) {
            return row.mark;
        }
    }
    return "";
}

// Breaks text at blanks into lines of at most `width` columns; a longer word stands alone.
std::vector<std::string> Wrap(const std::string& text, std::size_t width)
{
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = text.substr(at, end - at);
        if (!line.empty() && CountColumns(line) + 1 + CountColumns(word) > width) {
            lines.push_back(line);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        at = end + 1;
    }
    lines.push_back(line);
    return lines;
}

std::string Framed(const std::string& text)
{
    const std::size_t columns = CountColumns(text);
    return "│" + text + Repeat(" ", columns < kWidth ? kWidth - columns : 0) + "│";
}

std::string DrawPassword(const TileField& field)
{
    const std::size_t dots = std::min<std::size_t>(field.typedChars, 16);
    std::string text = ToUtf8(field.label) + "  [ " + Repeat("•", dots);
    if (field.interactive == CPFIS_FOCUSED) {
        text += "▏";
    }
    const std::size_t used = dots + (field.interactive == CPFIS_FOCUSED ? 1 : 0);
    return text + Repeat(" ", used < 18 ? 18 - used : 0) + "]";
}

std::string DrawSubmit(const Tile& tile)
{
    for (const TileField& field : tile.fields) {
        if (field.type == CPFT_SUBMIT_BUTTON && field.Shown(tile.selected)) {
            return "   ( " + ToUtf8(field.text.empty() ? field.label : field.text) + " )";
        }
    }
    return "";
}

bool SubmitStandsBeside(const Tile& tile, std::size_t fieldId)
{
    return std::any_of(tile.fields.begin(), tile.fields.end(), [&](const TileField& field) {
        return field.type == CPFT_SUBMIT_BUTTON && field.adjacentTo == fieldId;
    });
}

void DrawComboBox(const TileField& field, const std::string& button,
                  std::vector<std::string>& lines)
{
    lines.push_back(ToUtf8(field.label) + "  [ " +
                    (field.selectedRow < field.rows.size() ? ToUtf8(field.rows[field.selectedRow])
                                                           : std::string()) +
                    " ▾ ]" + button);
    for (std::size_t row = 0; row < field.rows.size(); ++row) {
        lines.push_back("    " + std::to_string(row + 1) +
                        (row == field.selectedRow ? " › " : "   ") + ToUtf8(field.rows[row]));
    }
}

// The lines of one field, without frame or indent; none when there is nothing to see.
std::vector<std::string> DrawField(const Tile& tile, std::size_t id)
{
    const TileField& field = tile.fields[id];
    const std::string button = SubmitStandsBeside(tile, id) ? DrawSubmit(tile) : "";
    std::vector<std::string> lines;
    switch (field.type) {
        case CPFT_LARGE_TEXT:
            lines = {ToUtf8(field.text), ""};
            break;
        case CPFT_SMALL_TEXT: {
            const bool isStatus = field.label == kStatusLabel;
            if (!field.text.empty()) {
                lines = Wrap((isStatus ? Mark(tile.icon) : "") + ToUtf8(field.text) + button,
                             kWidth - kIndent - 2);
            }
            break;
        }
        case CPFT_PASSWORD_TEXT:
        case CPFT_EDIT_TEXT:
            lines = {DrawPassword(field) + button, ""};
            break;
        case CPFT_COMBOBOX:
            DrawComboBox(field, button, lines);
            lines.push_back("");
            break;
        default:
            break;  // the image and the button are drawn beside other fields
    }
    return lines;
}

}  // namespace

std::vector<std::string> DrawTile(const Tile& tile)
{
    std::vector<std::string> body;
    for (std::size_t id = 0; id < tile.fields.size(); ++id) {
        if (tile.fields[id].Shown(tile.selected)) {
            const std::vector<std::string> lines = DrawField(tile, id);
            body.insert(body.end(), lines.begin(), lines.end());
        }
    }
    while (!body.empty() && body.back().empty()) {
        body.pop_back();
    }
    const bool image = std::any_of(
        tile.fields.begin(), tile.fields.end(),
        [&](const TileField& field) { return field.image && field.Shown(tile.selected); });
    std::vector<std::string> lines{"╭" + Repeat("─", kWidth) + "╮"};
    for (std::size_t i = 0; i < body.size(); ++i) {
        lines.push_back(Framed((i == 0 && image ? " o─╖  " : "      ") + body[i]));
    }
    lines.push_back("╰" + Repeat("─", kWidth) + "╯");
    return lines;
}

std::string DrawTileSummary(const Tile& tile)
{
    for (const TileField& field : tile.fields) {
        if (field.type == CPFT_LARGE_TEXT && field.Shown(tile.selected)) {
            return ToUtf8(field.text);
        }
    }
    return "(a tile without a title)";
}

}  // namespace kelvor::simulator
