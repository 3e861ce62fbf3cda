#include "console/json_writer.h"

#include "cardsvc/json_codec.h"
#include "cardsvc/utf_text.h"

namespace kelvor::admin {

JsonWriter& JsonWriter::Key(std::string_view name)
{
    Value({});
    AppendQuoted(name);
    text_ += ':';
    needsComma_ = false;
    return *this;
}

JsonWriter& JsonWriter::Text(std::string_view value)
{
    Value({});
    AppendQuoted(value);
    return *this;
}

JsonWriter& JsonWriter::Number(long long value)
{
    return Value(std::to_string(value));
}

JsonWriter& JsonWriter::Flag(bool value)
{
    return Value(value ? "true" : "false");
}

JsonWriter& JsonWriter::Null()
{
    return Value("null");
}

JsonWriter& JsonWriter::Begin(char bracket)
{
    Value({&bracket, 1});
    needsComma_ = false;
    return *this;
}

JsonWriter& JsonWriter::End(char bracket)
{
    text_ += bracket;
    needsComma_ = true;
    return *this;
}

JsonWriter& JsonWriter::Value(std::string_view spelled)
{
    if (needsComma_) {
        text_ += ',';
    }
    text_ += spelled;
    needsComma_ = true;
    return *this;
}

void JsonWriter::AppendQuoted(std::string_view value)
{
    text_ += '"';
    text_ += JsonEscape(Utf16ToUtf8(Utf8ToUtf16(value))).View();
    text_ += '"';
}

}  // namespace kelvor::admin
