#include "fido/key_answer.h"

#include <algorithm>
#include <string_view>

#include "cardsvc/utf_text.h"
#include "fido/key_library.h"

namespace kelvor {
namespace {

// The largest answers that the library gives.
constexpr std::size_t kCredentialIdBytes = 256;
constexpr std::size_t kAuthenticatorDataBytes = 2048;
constexpr std::size_t kSignatureBytes = 512;
constexpr std::size_t kHmacBytes = 32;
constexpr std::size_t kNameBytes = 512;

// One buffer that the library fills: its capacity goes in, what it wrote comes out.
struct ByteBuffer {
    explicit ByteBuffer(std::size_t capacity) : bytes(capacity), length(capacity) {}

    // A length beyond the buffer is a lie and tells nothing more than the buffer itself.
    std::vector<unsigned char> Take()
    {
        bytes.resize(std::min(length, bytes.size()));
        return std::move(bytes);
    }

    std::vector<unsigned char> bytes;
    std::size_t length;
};

// A name ends at its first zero byte; the library's length is not asked.
struct NameBuffer {
    NameBuffer() : bytes(kNameBytes, '\0') {}

    std::wstring Text() const
    {
        const std::string_view whole = bytes;
        return Utf8ToUtf16(whole.substr(0, whole.find('\0')));
    }

    std::string bytes;
    std::size_t length = kNameBytes;
};

}  // namespace

KeyAnswer::~KeyAnswer()
{
    if (begun_) {
        prov_assert_hmac_free(handle_);
    }
}

int KeyAnswer::Begin(const std::string& rpId, const std::vector<unsigned char>& clientDataHash,
                     const SecretText& pin)
{
    const int code =
        prov_assert_hmac_begin(rpId.c_str(), nullptr, nullptr, 0, clientDataHash.data(),
                               pin.Empty() ? nullptr : pin.CStr(), &handle_, &count_);
    begun_ = code == 0;
    return code;
}

bool KeyAnswer::ReadFlags(unsigned char& flags) const
{
    flags = 0;
    return prov_assert_hmac_flags(handle_, 0, &flags) == 0;
}

int KeyAnswer::ReadStatement(std::size_t index, KeyStatement& statement) const
{
    ByteBuffer credentialId(kCredentialIdBytes);
    ByteBuffer authenticatorData(kAuthenticatorDataBytes);
    ByteBuffer signature(kSignatureBytes);
    SecretBytes hmacSecret(kHmacBytes);
    std::size_t hmacLength = hmacSecret.Size();
    NameBuffer userName;
    NameBuffer displayName;
    const int code = prov_assert_hmac_get(
        handle_, index, credentialId.bytes.data(), &credentialId.length,
        authenticatorData.bytes.data(), &authenticatorData.length, signature.bytes.data(),
        &signature.length, hmacSecret.Data(), &hmacLength, userName.bytes.data(), &userName.length,
        displayName.bytes.data(), &displayName.length);
    if (code != 0) {
        return code;
    }
    hmacSecret.Shrink(hmacLength);
    statement.accountName = userName.Text();
    statement.displayName = displayName.Text();
    statement.credentialId = credentialId.Take();
    statement.authenticatorData = authenticatorData.Take();
    statement.signature = signature.Take();
    statement.hmacSecret = std::move(hmacSecret);
    return 0;
}

}  // namespace kelvor
