#pragma once

#include <string>
#include <string_view>

namespace kelvor::simulator {

// "0x" and eight upper-case digits, as NTSTATUS and HRESULT values are written.
std::string Hex32(unsigned long value);

// The text as UTF-8 in single quotes.
std::string Quoted(std::wstring_view text);

// Number of code points in well-formed UTF-8: the columns it takes on a console, near enough.
std::size_t CountColumns(std::string_view text) noexcept;

}  // namespace kelvor::simulator
