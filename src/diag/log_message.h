#pragma once

#include <cstdarg>
#include <cstdio>

namespace kelvor {

// Writes a printf message to `file`. A plain %ls is converted to UTF-8 here: runtimes do it one
// unit at a time, and some end the message at the first half of a character outside the BMP. A
// half that stands alone becomes U+FFFD. Allocates nothing.
void WriteMessage(std::FILE* file, const char* format, std::va_list arguments) noexcept;

}  // namespace kelvor
