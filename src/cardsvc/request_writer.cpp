#include "cardsvc/request_writer.h"

#include <utility>

#include "cardsvc/json_codec.h"
#include "cardsvc/utf_text.h"

namespace kelvor {

RequestWriter::RequestWriter(std::string_view command)
{
    AddText("cmd", command);
}

void RequestWriter::AddText(std::string_view key, std::string_view value)
{
    BeginMember(key);
    AppendQuoted(value);
}

void RequestWriter::AddText(std::string_view key, std::wstring_view value)
{
    AddText(key, Utf16ToUtf8(value));
}

void RequestWriter::AddTexts(std::string_view key, const std::vector<std::string>& values)
{
    BeginMember(key);
    char separator = '[';
    for (const std::string& value : values) {
        line_.Append(separator);
        AppendQuoted(value);
        separator = ',';
    }
    line_.Append(values.empty() ? "[]" : "]");
}

void RequestWriter::AddFlag(std::string_view key, bool value)
{
    BeginMember(key);
    line_.Append(value ? "true" : "false");
}

SecretText RequestWriter::Finish()
{
    line_.Append("}\n");
    return std::move(line_);
}

void RequestWriter::BeginMember(std::string_view key)
{
    line_.Append(line_.Empty() ? '{' : ',');
    line_.Append('"');
    line_.Append(key);
    line_.Append("\":");
}

void RequestWriter::AppendQuoted(std::string_view value)
{
    line_.Append('"');
    line_.Append(JsonEscape(value).View());
    line_.Append('"');
}

}  // namespace kelvor
