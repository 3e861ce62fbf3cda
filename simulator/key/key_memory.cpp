#include "key/key_memory.h"

#include <algorithm>

#include <stdexcept>

#include "crypto/base64.h"
#include "crypto/hash.h"
#include "crypto/secret_sha256.h"
#include "files/whole_file.h"
#include "json/json.h"
#include "text/utf8.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kSaltBytes = 16;
constexpr int kHashRounds = 1000;
constexpr std::size_t kKeyPartsBytes = 96;
constexpr std::size_t kHmacKeyBytes = 32;

// The readers below throw what LoadKeyMemory reports with the file's name.
std::string_view TextOf(const JsonObject& object, const char* name)
{
    const auto text = object.Text(name);
    if (!text) {
        throw std::runtime_error(std::string("lacks \"") + name + "\"");
    }
    return *text;
}

std::uint32_t NumberOf(const JsonObject& object, const char* name)
{
    const auto number = object.Number(name);
    if (!number) {
        throw std::runtime_error(std::string("lacks \"") + name + "\"");
    }
    return *number;
}

Bytes BytesOf(const JsonObject& object, const char* name)
{
    const auto bytes = Base64Bytes(TextOf(object, name));
    if (!bytes) {
        throw std::runtime_error(std::string("has no Base64 in \"") + name + "\"");
    }
    return *bytes;
}

SecretBytes SecretOf(const JsonObject& object, const char* name, std::size_t sizeBytes)
{
    auto secret = Base64Secret(TextOf(object, name));
    if (!secret || (!secret->Empty() && secret->Size() != sizeBytes)) {
        throw std::runtime_error(std::string("has no key in \"") + name + "\"");
    }
    return std::move(*secret);
}

StoredCredential CredentialOf(const JsonObject& object)
{
    StoredCredential credential;
    credential.id = BytesOf(object, "id");
    credential.rpId = TextOf(object, "rpId");
    credential.accountName = TextOf(object, "accountName");
    credential.displayName = TextOf(object, "displayName");
    credential.keyParts = SecretOf(object, "key", kKeyPartsBytes);
    credential.hmacWithVerification = SecretOf(object, "hmacWithVerification", kHmacKeyBytes);
    credential.hmacWithoutVerification = SecretOf(object, "hmacWithoutVerification", kHmacKeyBytes);
    return credential;
}

KeyMemory MemoryOf(const JsonObject& object)
{
    KeyMemory memory;
    memory.pinSalt = BytesOf(object, "pinSalt");
    memory.pinHash = BytesOf(object, "pinHash");
    memory.retries = NumberOf(object, "retries");
    memory.counter = NumberOf(object, "counter");
    const auto credentials = object.Objects("credentials");
    if (!credentials) {
        throw std::runtime_error("lacks \"credentials\"");
    }
    for (const JsonObject& credential : *credentials) {
        memory.credentials.push_back(CredentialOf(credential));
    }
    return memory;
}

Digest HashOfPin(const Bytes& salt, std::string_view pin)
{
    Digest hash = SecretSha256({ByteView(salt), ViewOf(pin)});
    for (int round = 1; round < kHashRounds; ++round) {
        hash = SecretSha256({ByteView(salt), ByteView(hash)});
    }
    return hash;
}

}  // namespace

KeyMemory LoadKeyMemory(const std::wstring& path)
{
    std::optional<SecretText> text = ReadWholeFile(path);
    if (!text) {
        return {};
    }
    const auto document = JsonDocument::Parse(std::move(*text));
    if (!document) {
        throw std::runtime_error(ToUtf8(path) + ": is no JSON object");
    }
    try {
        return MemoryOf(document->Root());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(ToUtf8(path) + ": " + error.what());
    }
}

void SaveKeyMemory(const std::wstring& path, const KeyMemory& memory)
{
    std::vector<JsonWriter> credentials;
    for (const StoredCredential& credential : memory.credentials) {
        credentials.emplace_back()
            .Add("id", Base64Text(credential.id))
            .Add("rpId", credential.rpId)
            .Add("accountName", credential.accountName)
            .Add("displayName", credential.displayName)
            .Add("key", Base64Text(ViewOf(credential.keyParts)))
            .Add("hmacWithVerification", Base64Text(ViewOf(credential.hmacWithVerification)))
            .Add("hmacWithoutVerification", Base64Text(ViewOf(credential.hmacWithoutVerification)));
    }
    ReplaceWholeFile(path, JsonWriter()
                               .Add("pinSalt", Base64Text(memory.pinSalt))
                               .Add("pinHash", Base64Text(memory.pinHash))
                               .Add("retries", memory.retries)
                               .Add("counter", memory.counter)
                               .Add("credentials", credentials)
                               .Text());
}

void SetPin(KeyMemory& memory, std::string_view pin)
{
    memory.pinSalt = RandomBytes(kSaltBytes);
    memory.pinHash.clear();
    if (!pin.empty()) {
        const Digest hash = HashOfPin(memory.pinSalt, pin);
        memory.pinHash.assign(hash.begin(), hash.end());
    }
}

bool IsPin(const KeyMemory& memory, std::string_view pin)
{
    const Digest hash = HashOfPin(memory.pinSalt, pin);
    return std::equal(hash.begin(), hash.end(), memory.pinHash.begin(), memory.pinHash.end());
}

}  // namespace kelvor::simulator
