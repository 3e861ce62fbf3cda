#pragma once

namespace kelvor::bench {

// Appends one line to the log: folder, mutex, size, open, print, close. Texts are UTF-8 already.
void BareLog(const char* level, const char* format, ...);

}  // namespace kelvor::bench
