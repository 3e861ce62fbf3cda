#pragma once

#include <string>
#include <string_view>

namespace kelvor::simulator {

// UTF-16 as Windows hands it out, for the UTF-8 console and the other way round. What is not well
// formed becomes U+FFFD; never fails.
std::string ToUtf8(std::wstring_view text);
std::wstring ToUtf16(std::string_view text);

// "0x" and eight upper-case digits, as NTSTATUS and HRESULT values are written.
std::string Hex32(unsigned long value);

// Number of code points in well-formed UTF-8: the columns it takes on a console, near enough.
std::size_t CountColumns(std::string_view text) noexcept;

// Lower-case A to Z; for names of domains and users in ASCII, as this world's are.
std::wstring FoldCase(std::wstring_view text);

}  // namespace kelvor::simulator
