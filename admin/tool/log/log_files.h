#pragma once

#include <string>

namespace kelvor::admin {

// The module's log on this PC.
std::wstring DefaultLogFile();

// The text of a log, the rotated part (".1") before it when there is one. Files that somebody else
// is writing are read as far as they go. Throws std::runtime_error naming the file that cannot be
// read; a log that has never been written is one of them.
std::string ReadLogFiles(const std::wstring& file);

// Whether the path is that of the log or of its rotated part, however it is written.
bool IsPartOfLog(const std::wstring& path, const std::wstring& log);

// Writes a file anew. Throws std::runtime_error naming it.
void WriteWholeFile(const std::wstring& path, const std::string& text);

}  // namespace kelvor::admin
