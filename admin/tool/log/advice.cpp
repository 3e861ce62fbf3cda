#include "log/advice.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kelvor::admin {
namespace {

constexpr std::string_view kPrefixes[] = {"Sign-in failed: ", "Couldn't set up sign-in: "};
// The name of a tile stands in quotes inside of a text.
constexpr std::string_view kQuotedTile = "\"Other user\"";
constexpr std::string_view kBareTile = "Other user";

std::string Replaced(std::string_view text, std::string_view what, std::string_view by)
{
    std::string result;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what)) {
        result.append(text.substr(0, at)).append(by);
        text.remove_prefix(at + what.size());
    }
    return result.append(text);
}

// The cells of a table's row, without the blanks around them.
std::vector<std::string_view> Cells(std::string_view row)
{
    std::vector<std::string_view> cells;
    row.remove_prefix(1);
    for (std::size_t end = row.find('|'); end != std::string_view::npos; end = row.find('|')) {
        std::string_view cell = row.substr(0, end);
        row.remove_prefix(end + 1);
        cell.remove_prefix(std::min(cell.find_first_not_of(' '), cell.size()));
        cell = cell.substr(0, cell.find_last_not_of(' ') + 1);
        cells.push_back(cell);
    }
    return cells;
}

// The texts in double quotes of a cell.
std::vector<std::string> Quoted(std::string_view cell)
{
    const std::string plain = Replaced(cell, kQuotedTile, kBareTile);
    std::vector<std::string> texts;
    std::size_t begin = plain.find('"');
    while (begin != std::string::npos) {
        const std::size_t end = plain.find('"', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        texts.push_back(plain.substr(begin + 1, end - begin - 1));
        begin = plain.find('"', end + 1);
    }
    return texts;
}

}  // namespace

AdviceBook::AdviceBook(std::string_view page)
{
    while (!page.empty()) {
        const std::size_t end = std::min(page.find('\n'), page.size());
        const std::string_view line = page.substr(0, end);
        page.remove_prefix(std::min(end + 1, page.size()));
        if (!line.starts_with("| ")) {
            continue;
        }
        const std::vector<std::string_view> cells = Cells(line);
        // text | cause | what to do; or code | text | on this PC | on the domain controller
        const std::size_t at = cells.size() == 4 ? 1 : 0;
        if (cells.size() < 3) {
            continue;
        }
        for (std::string& text : Quoted(cells[at])) {
            byText_.emplace(
                std::move(text),
                at == 0 ? Advice{std::string(cells[1]), std::string(cells[2])}
                        : Advice{"the domain refused, code " + std::string(cells[0]),
                                 "on this PC: " + std::string(cells[2]) +
                                     "; on the domain controller: " + std::string(cells[3])});
        }
    }
}

const Advice* AdviceBook::For(std::string_view shown) const
{
    for (const std::string_view prefix : kPrefixes) {
        if (shown.starts_with(prefix)) {
            shown.remove_prefix(prefix.size());
        }
    }
    const auto found = byText_.find(Replaced(shown, kQuotedTile, kBareTile));
    return found == byText_.end() ? nullptr : &found->second;
}

const AdviceBook& TheAdviceBook()
{
    static const AdviceBook book = [] {
        HRSRC place = FindResourceW(nullptr, L"TROUBLESHOOTING", MAKEINTRESOURCEW(10));
        HGLOBAL loaded = place != nullptr ? LoadResource(nullptr, place) : nullptr;
        if (loaded == nullptr) {
            throw std::runtime_error("this program lacks its page of advice");
        }
        return AdviceBook(
            {static_cast<const char*>(LockResource(loaded)), SizeofResource(nullptr, place)});
    }();
    return book;
}

}  // namespace kelvor::admin
