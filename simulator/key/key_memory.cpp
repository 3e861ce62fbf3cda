#include "key/key_memory.h"

#include <algorithm>

#include <stdexcept>

#include "crypto/base64.h"
#include "crypto/hash.h"
#include "crypto/secret_sha256.h"
#include "files/whole_file.h"
#include "json/required.h"
#include "json/state_file.h"

namespace kelvor::simulator {

namespace {

constexpr std::size_t kSaltBytes = 16;
constexpr int kHashRounds = 1000;
constexpr std::size_t kKeyPartsBytes = 96;
constexpr std::size_t kHmacKeyBytes = 32;

SecretBytes KeyOf(const JsonObject& object, const char* name, std::size_t sizeBytes)
{
    SecretBytes key = RequiredSecret(object, name);
    if (!key.Empty() && key.Size() != sizeBytes) {
        throw std::runtime_error(std::string("has no key in \"") + name + "\"");
    }
    return key;
}

StoredCredential CredentialOf(const JsonObject& object)
{
    StoredCredential credential;
    credential.id = RequiredBytes(object, "id");
    credential.rpId = RequiredText(object, "rpId");
    credential.accountName = RequiredText(object, "accountName");
    credential.displayName = RequiredText(object, "displayName");
    credential.keyParts = KeyOf(object, "key", kKeyPartsBytes);
    credential.hmacWithVerification = KeyOf(object, "hmacWithVerification", kHmacKeyBytes);
    credential.hmacWithoutVerification = KeyOf(object, "hmacWithoutVerification", kHmacKeyBytes);
    return credential;
}

KeyMemory MemoryOf(const JsonObject& object)
{
    KeyMemory memory;
    memory.pinSalt = RequiredBytes(object, "pinSalt");
    memory.pinHash = RequiredBytes(object, "pinHash");
    memory.retries = RequiredNumber(object, "retries");
    memory.counter = RequiredNumber(object, "counter");
    for (const JsonObject& credential : RequiredObjects(object, "credentials")) {
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
    std::optional<KeyMemory> memory = ReadStateFile(path, MemoryOf);
    return memory ? std::move(*memory) : KeyMemory();
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
