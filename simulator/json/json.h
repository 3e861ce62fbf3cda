#pragma once

// JSON as the card service and the files of the state folder speak it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "secret.h"

namespace kelvor::simulator {

// One object inside a JsonDocument, which must outlive it. A member that is missing, occurs twice
// or has another type than asked for answers nothing.
class JsonObject {
 public:
    explicit JsonObject(const void* value) noexcept : value_(value) {}

    bool Has(const char* name) const;
    // The members' names in their order.
    std::vector<std::string_view> Names() const;
    std::optional<std::string_view> Text(const char* name) const;
    std::optional<bool> Flag(const char* name) const;
    std::optional<std::uint32_t> Number(const char* name) const;
    std::optional<std::vector<std::string_view>> Texts(const char* name) const;
    std::optional<std::vector<JsonObject>> Objects(const char* name) const;

 private:
    const void* value_;
};

// A strictly parsed object in UTF-8. Its texts lie in the parsed buffer, which wipes itself.
class JsonDocument {
 public:
    // Nothing when the text is not exactly one JSON object.
    static std::optional<JsonDocument> Parse(SecretText text);

    JsonDocument(JsonDocument&&) noexcept;
    JsonDocument& operator=(JsonDocument&&) noexcept;
    ~JsonDocument();

    JsonObject Root() const;

 private:
    struct Parsed;
    explicit JsonDocument(std::unique_ptr<Parsed> parsed) noexcept;
    std::unique_ptr<Parsed> parsed_;
};

// Writes one object, members in the order in which they are added.
class JsonWriter {
 public:
    JsonWriter& Add(const char* name, std::string_view text);
    JsonWriter& Add(const char* name, const std::string& text);
    JsonWriter& Add(const char* name, const char* text);
    JsonWriter& Add(const char* name, bool flag);
    JsonWriter& Add(const char* name, std::uint32_t number);
    JsonWriter& Add(const char* name, const std::vector<JsonWriter>& objects);

    // The object on one line, without a line feed.
    std::string Text() const;

 private:
    void Name(const char* name);
    std::string members_;
};

}  // namespace kelvor::simulator
