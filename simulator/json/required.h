#pragma once

#include <cstdint>
#include <string_view>

#include "crypto/bytes.h"
#include "json/json.h"

namespace kelvor::simulator {

// Members that an object must have. Each throws std::runtime_error naming the member that is
// missing or has another form.
std::string_view RequiredText(const JsonObject& object, const char* name);
std::uint32_t RequiredNumber(const JsonObject& object, const char* name);
bool RequiredFlag(const JsonObject& object, const char* name);
std::vector<JsonObject> RequiredObjects(const JsonObject& object, const char* name);
// From Base64.
Bytes RequiredBytes(const JsonObject& object, const char* name);
SecretBytes RequiredSecret(const JsonObject& object, const char* name);

}  // namespace kelvor::simulator
