#include "json/json.h"

#include <document.h>
#include <stringbuffer.h>
#include <writer.h>

namespace kelvor::simulator {

namespace {

// Iterative, so that deep nesting cannot exhaust the stack.
constexpr unsigned kStrict = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag;

const rapidjson::Value* Find(const void* object, const char* name)
{
    const rapidjson::Value* found = nullptr;
    for (const auto& member : static_cast<const rapidjson::Value*>(object)->GetObject()) {
        if (std::string_view(member.name.GetString(), member.name.GetStringLength()) == name) {
            if (found) {
                return nullptr;
            }
            found = &member.value;
        }
    }
    return found;
}

std::string_view ViewOf(const rapidjson::Value& text)
{
    return {text.GetString(), text.GetStringLength()};
}

std::string Quote(std::string_view text)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

bool JsonObject::Has(const char* name) const
{
    return Find(value_, name) != nullptr;
}

std::vector<std::string_view> JsonObject::Names() const
{
    std::vector<std::string_view> names;
    for (const auto& member : static_cast<const rapidjson::Value*>(value_)->GetObject()) {
        names.push_back(ViewOf(member.name));
    }
    return names;
}

std::optional<std::string_view> JsonObject::Text(const char* name) const
{
    const rapidjson::Value* value = Find(value_, name);
    if (!value || !value->IsString()) {
        return std::nullopt;
    }
    return ViewOf(*value);
}

std::optional<bool> JsonObject::Flag(const char* name) const
{
    const rapidjson::Value* value = Find(value_, name);
    if (!value || !value->IsBool()) {
        return std::nullopt;
    }
    return value->GetBool();
}

std::optional<std::uint32_t> JsonObject::Number(const char* name) const
{
    const rapidjson::Value* value = Find(value_, name);
    if (!value || !value->IsUint()) {
        return std::nullopt;
    }
    return value->GetUint();
}

std::optional<std::vector<std::string_view>> JsonObject::Texts(const char* name) const
{
    const rapidjson::Value* value = Find(value_, name);
    if (!value || !value->IsArray()) {
        return std::nullopt;
    }
    std::vector<std::string_view> texts;
    for (const rapidjson::Value& item : value->GetArray()) {
        if (!item.IsString()) {
            return std::nullopt;
        }
        texts.push_back(ViewOf(item));
    }
    return texts;
}

std::optional<std::vector<JsonObject>> JsonObject::Objects(const char* name) const
{
    const rapidjson::Value* value = Find(value_, name);
    if (!value || !value->IsArray()) {
        return std::nullopt;
    }
    std::vector<JsonObject> objects;
    for (const rapidjson::Value& item : value->GetArray()) {
        if (!item.IsObject()) {
            return std::nullopt;
        }
        objects.emplace_back(&item);
    }
    return objects;
}

struct JsonDocument::Parsed {
    SecretText text;
    rapidjson::Document document;
};

JsonDocument::JsonDocument(std::unique_ptr<Parsed> parsed) noexcept : parsed_(std::move(parsed)) {}
JsonDocument::JsonDocument(JsonDocument&&) noexcept = default;
JsonDocument& JsonDocument::operator=(JsonDocument&&) noexcept = default;
JsonDocument::~JsonDocument() = default;

std::optional<JsonDocument> JsonDocument::Parse(SecretText text)
{
    if (text.View().find('\0') != std::string_view::npos) {
        return std::nullopt;  // the parser would take it for the end
    }
    auto parsed = std::make_unique<Parsed>();
    parsed->text = std::move(text);
    parsed->document.ParseInsitu<kStrict>(parsed->text.Data());
    if (parsed->document.HasParseError() || !parsed->document.IsObject()) {
        return std::nullopt;
    }
    return JsonDocument(std::move(parsed));
}

JsonObject JsonDocument::Root() const
{
    return JsonObject(&static_cast<const rapidjson::Value&>(parsed_->document));
}

JsonWriter& JsonWriter::Add(const char* name, std::string_view text)
{
    Name(name);
    members_ += Quote(text);
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, const std::string& text)
{
    return Add(name, std::string_view(text));
}

JsonWriter& JsonWriter::Add(const char* name, const char* text)
{
    return Add(name, std::string_view(text));
}

JsonWriter& JsonWriter::Add(const char* name, bool flag)
{
    Name(name);
    members_ += flag ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, std::uint32_t number)
{
    Name(name);
    members_ += std::to_string(number);
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, const std::vector<JsonWriter>& objects)
{
    Name(name);
    members_ += '[';
    for (const JsonWriter& object : objects) {
        if (&object != &objects.front()) {
            members_ += ',';
        }
        members_ += object.Text();
    }
    members_ += ']';
    return *this;
}

std::string JsonWriter::Text() const
{
    return '{' + members_ + '}';
}

void JsonWriter::Name(const char* name)
{
    if (!members_.empty()) {
        members_ += ',';
    }
    members_ += Quote(name) + ':';
}

}  // namespace kelvor::simulator
