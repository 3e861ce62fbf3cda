#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "files/whole_file.h"
#include "json/json.h"
#include "text/utf8.h"

namespace kelvor::simulator {

// The JSON object in a file of the state folder; nothing when there is no such file. Throws
// std::runtime_error naming the file when it holds something else.
std::optional<JsonDocument> LoadStateFile(const std::wstring& path);

// Hands the object in a state file to `read` and returns what that makes of it; nothing when there
// is no such file. A std::runtime_error of `read` is thrown again with the file's name before it.
template <class Read>
auto ReadStateFile(const std::wstring& path, Read read)
    -> std::optional<decltype(read(std::declval<const JsonObject&>()))>
{
    const std::optional<JsonDocument> document = LoadStateFile(path);
    if (!document) {
        return std::nullopt;
    }
    try {
        return read(document->Root());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(ToUtf8(path) + ": " + error.what());
    }
}

}  // namespace kelvor::simulator
