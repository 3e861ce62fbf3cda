#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kelvor::admin {

// One row of a table of a Markdown page. Its cells are plain: code of several words stands in
// quotes, other code and what is emphasised has lost its marks, and of a link the text is left.
struct PageRow {
    std::string heading;  // the last one above the table, without its signs
    std::map<std::string, std::string, std::less<>> cells;  // by the name of their column

    // Empty when there is no such column.
    std::string_view Cell(std::string_view column) const;
};

// All rows of all tables of a page, in its order.
std::vector<PageRow> ReadTables(std::string_view page);

}  // namespace kelvor::admin
