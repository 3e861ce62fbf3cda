#pragma once

#include <string>
#include <string_view>

namespace kelvor::admin {

// A text of somebody else, in UTF-8, for a line of a console: its control characters are shown as
// signs (U+2400 and so on), so that it neither begins a line of its own nor steers the console.
std::string Visible(std::string_view utf8);

}  // namespace kelvor::admin
