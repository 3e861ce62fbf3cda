#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "secret.h"

namespace kelvor::simulator {

// A whole file, in memory that wipes itself. Nothing when there is no such file. Throws
// std::runtime_error, naming the file and why, when it cannot be read or is longer than `maxBytes`.
std::optional<SecretText> ReadWholeFile(const std::wstring& path, std::size_t maxBytes = 1 << 20);

// Writes a file so that whoever opens it sees the old content or the new, never a part of it.
// Throws std::runtime_error naming the file and why.
void ReplaceWholeFile(const std::wstring& path, std::string_view content);

// Creates a folder and those above it. Throws std::runtime_error naming it and why.
void MakeFolder(const std::wstring& path);

// What Windows calls an error code, for messages: "The system cannot find the path specified (3)".
std::string ErrorText(DWORD code);

}  // namespace kelvor::simulator
