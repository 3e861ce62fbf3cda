#include "json/state_file.h"

namespace kelvor::simulator {

std::optional<JsonDocument> LoadStateFile(const std::wstring& path)
{
    std::optional<SecretText> text = ReadWholeFile(path);
    if (!text) {
        return std::nullopt;
    }
    std::optional<JsonDocument> document = JsonDocument::Parse(std::move(*text));
    if (!document) {
        throw std::runtime_error(ToUtf8(path) + ": is no JSON object");
    }
    return document;
}

}  // namespace kelvor::simulator
