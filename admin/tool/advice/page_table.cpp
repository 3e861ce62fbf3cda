#include "advice/page_table.h"

#include <algorithm>
#include <optional>

namespace kelvor::admin {
namespace {

std::string_view Trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// Up to the sign, which goes, too.
std::string_view TakeUntil(std::string_view& text, char sign)
{
    const std::string_view taken = text.substr(0, text.find(sign));
    text.remove_prefix(std::min(taken.size() + 1, text.size()));
    return taken;
}

std::string Plain(std::string_view cell)
{
    std::string plain;
    while (!cell.empty()) {
        const char first = cell.front();
        cell.remove_prefix(1);
        if (first == '`') {
            const std::string code(TakeUntil(cell, '`'));
            plain += code.find(' ') == std::string::npos ? code : '"' + code + '"';
        } else if (first == ']' && cell.starts_with('(')) {
            TakeUntil(cell, ')');
        } else if (first != '*' && first != '[' && first != ']') {
            plain += first;
        }
    }
    return plain;
}

// Of a line that begins and ends with a bar.
std::vector<std::string_view> Cells(std::string_view line)
{
    std::vector<std::string_view> cells;
    line.remove_prefix(1);
    for (std::size_t end = line.find('|'); end != std::string_view::npos; end = line.find('|')) {
        cells.push_back(Trimmed(line.substr(0, end)));
        line.remove_prefix(end + 1);
    }
    return cells;
}

class TableReader {
 public:
    void Feed(std::string_view line)
    {
        if (line.starts_with('#')) {
            heading_ = line.substr(std::min(line.find_first_not_of("# "), line.size()));
        }
        if (!line.starts_with('|')) {
            columns_.reset();
        } else if (!columns_) {
            columns_ = Cells(line);
        } else if (!line.starts_with("|-")) {
            Add(Cells(line));
        }
    }
    std::vector<PageRow> Take() { return std::move(rows_); }

 private:
    void Add(const std::vector<std::string_view>& cells)
    {
        PageRow row{.heading = heading_, .cells = {}};
        for (std::size_t at = 0; at < std::min(cells.size(), columns_->size()); ++at) {
            row.cells.emplace((*columns_)[at], Plain(cells[at]));
        }
        rows_.push_back(std::move(row));
    }

    std::string heading_;
    std::optional<std::vector<std::string_view>> columns_;  // of the table that is being read
    std::vector<PageRow> rows_;
};

}  // namespace

std::string_view PageRow::Cell(std::string_view column) const
{
    const auto found = cells.find(column);
    return found == cells.end() ? std::string_view() : found->second;
}

std::vector<PageRow> ReadTables(std::string_view page)
{
    TableReader reader;
    while (!page.empty()) {
        const std::size_t end = std::min(page.find('\n'), page.size());
        reader.Feed(page.substr(0, end));
        page.remove_prefix(std::min(end + 1, page.size()));
    }
    return reader.Take();
}

}  // namespace kelvor::admin
