#pragma once

#include <string>
#include <string_view>

namespace kelvor::admin {

// Writes one JSON value (RFC 8259) without blanks, piece by piece in the order of the text. Texts
// are UTF-8; what is not well-formed in them becomes U+FFFD. Begin and End belong together; that
// is not checked.
class JsonWriter {
 public:
    JsonWriter& BeginObject() { return Begin('{'); }
    JsonWriter& EndObject() { return End('}'); }
    JsonWriter& BeginArray() { return Begin('['); }
    JsonWriter& EndArray() { return End(']'); }
    // The name of the member whose value is written next.
    JsonWriter& Key(std::string_view name);
    JsonWriter& Text(std::string_view value);
    JsonWriter& Number(long long value);
    JsonWriter& Flag(bool value);
    JsonWriter& Null();

    const std::string& Written() const noexcept { return text_; }

 private:
    JsonWriter& Begin(char bracket);
    JsonWriter& End(char bracket);
    JsonWriter& Value(std::string_view spelled);
    void AppendQuoted(std::string_view value);

    std::string text_;
    bool needsComma_ = false;
};

}  // namespace kelvor::admin
