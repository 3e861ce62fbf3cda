#include "fido/key_error_text.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "fido/key_library.h"

namespace kelvor {
namespace {

constexpr const wchar_t* kNoContact =
    L"could not talk to the security key — take it off the reader, lay it back flat, and try again";
constexpr const wchar_t* kCancelled =
    L"the security key cancelled the sign-in — tap it again to continue";
constexpr const wchar_t* kNotTouched =
    L"the key was not touched in time — tap your security key and try again";
constexpr const wchar_t* kLocked =
    L"this security key is locked after too many incorrect PIN attempts — it has to be reset and "
    L"registered again";
constexpr const wchar_t* kNotAccepted =
    L"the security key would not accept the sign-in — take it off the reader, put it back, and try "
    L"again";

struct KeyError {
    int code;
    const wchar_t* text;
};

// Ascending by code. Names above zero are those of the FIDO Client to Authenticator Protocol, below
// it libfido2's transport errors. What a second try mends is grouped by what the user has to do: an
// operation that is not allowed means that no key was there, a denied one that it was cancelled.
constexpr KeyError kKeyErrors[] = {
    {-4, kNoContact},    // FIDO_ERR_RX_INVALID_CBOR
    {-3, kNoContact},    // FIDO_ERR_RX_NOT_CBOR
    {-2, kNoContact},    // FIDO_ERR_RX
    {-1, kNoContact},    // FIDO_ERR_TX
    {0x01, kNoContact},  // CTAP1_ERR_INVALID_COMMAND
    // CTAP2_ERR_UNSUPPORTED_EXTENSION
    {0x16, L"this security key's credential cannot sign in here — register the key again"},
    {0x27, kCancelled},  // CTAP2_ERR_OPERATION_DENIED
    {0x2D, kCancelled},  // CTAP2_ERR_KEEPALIVE_CANCEL
    // CTAP2_ERR_NO_CREDENTIALS
    {0x2E, L"this security key is not registered for sign-in on this PC"},
    {0x2F, kNotTouched},  // CTAP2_ERR_USER_ACTION_TIMEOUT
    // CTAP2_ERR_NOT_ALLOWED
    {0x30, L"no security key found — insert or tap your key and try again"},
    // CTAP2_ERR_PIN_INVALID
    {0x31, L"incorrect PIN — check your security key's PIN and try again"},
    {0x32, kLocked},       // CTAP2_ERR_PIN_BLOCKED
    {0x33, kNotAccepted},  // CTAP2_ERR_PIN_AUTH_INVALID
    // CTAP2_ERR_PIN_AUTH_BLOCKED
    {0x34,
     L"the security key stopped accepting its PIN — take it off the reader, put it back, and try "
     L"again"},
    // CTAP2_ERR_PIN_NOT_SET
    {0x35, L"this security key has no PIN set — it may have been reset; register it again"},
    // CTAP2_ERR_PIN_REQUIRED
    {kKeyErrorPinRequired,
     L"enter your security key's PIN — the key has to verify you before it can sign you in"},
    // CTAP2_ERR_PIN_POLICY_VIOLATION
    {0x37, L"this security key's PIN does not meet its policy — change the PIN on the key"},
    {0x3A, kNotTouched},   // CTAP2_ERR_ACTION_TIMEOUT
    {0x3B, kNotTouched},   // CTAP2_ERR_UP_REQUIRED
    {0x3C, kLocked},       // CTAP2_ERR_UV_BLOCKED
    {0x3F, kNotAccepted},  // CTAP2_ERR_UV_INVALID
};
static_assert(std::ranges::is_sorted(kKeyErrors, {}, &KeyError::code));

std::wstring FallbackText(int code)
{
    std::wstring text = L"security-key sign-in failed";
    const std::string_view libraryText = KeyLibraryText(code);
    if (!libraryText.empty()) {
        text += L" (";
        // The library's texts are plain ASCII: each byte is a character.
        std::ranges::transform(libraryText, std::back_inserter(text), [](char character) {
            return static_cast<wchar_t>(static_cast<unsigned char>(character));
        });
        text += L')';
    }
    return text;
}

}  // namespace

std::wstring KeyErrorText(int code)
{
    const KeyError* const known = std::ranges::lower_bound(kKeyErrors, code, {}, &KeyError::code);
    if (known != std::end(kKeyErrors) && known->code == code) {
        return known->text;
    }
    return FallbackText(code);
}

const char* KeyLibraryText(int code) noexcept
{
    const char* const text = prov_strerr(code);
    return text != nullptr ? text : "";
}

}  // namespace kelvor
