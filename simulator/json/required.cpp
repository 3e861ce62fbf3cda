#include "json/required.h"

#include <stdexcept>
#include <string>

#include "crypto/base64.h"

namespace kelvor::simulator {

namespace {

template <class Value>
Value Require(std::optional<Value> value, const char* name, const char* what)
{
    if (!value) {
        throw std::runtime_error(std::string("\"") + name + "\" is missing or no " + what);
    }
    return std::move(*value);
}

}  // namespace

std::string_view RequiredText(const JsonObject& object, const char* name)
{
    return Require(object.Text(name), name, "text");
}

std::uint32_t RequiredNumber(const JsonObject& object, const char* name)
{
    return Require(object.Number(name), name, "number");
}

bool RequiredFlag(const JsonObject& object, const char* name)
{
    return Require(object.Flag(name), name, "boolean");
}

std::vector<JsonObject> RequiredObjects(const JsonObject& object, const char* name)
{
    return Require(object.Objects(name), name, "array of objects");
}

Bytes RequiredBytes(const JsonObject& object, const char* name)
{
    return Require(Base64Bytes(RequiredText(object, name)), name, "Base64");
}

SecretBytes RequiredSecret(const JsonObject& object, const char* name)
{
    return Require(Base64Secret(RequiredText(object, name)), name, "Base64");
}

}  // namespace kelvor::simulator
