#include <array>

#include "explain/remedies.h"

namespace kelvor::admin {
namespace {

constexpr const char* kReseat =
    "Take the key off and put it back, directly into the PC and not into a hub; on an NFC reader let it lie flat until the sign-in is done. Try the key in another PC: if it fails there, too, it is worn out.";

constexpr const char* kTouchInTime =
    "Try again and touch the key while it flashes; a key without a light wants the touch at the message \"Touch your security key now\".";

constexpr const char* kRegisterAgain =
    "Register the key again for this account on the sign-in server, as a discoverable passkey with the hmac-secret (PRF) extension.";

constexpr const char* kReset =
    "Nobody can take the lock off. Reset the key with its maker's program or in Windows' settings (Sign-in options, Security key), which deletes all passkeys on it; set a PIN and register it again. Meanwhile the person signs in another way.";

constexpr const char* kUpdateKey =
    "Update the security-key library, and try a key of another model. If one model fails throughout, it lacks what the sign-in needs: CTAP 2 with hmac-secret and a PIN.";

constexpr auto Code(int code)
{
    return static_cast<std::uint32_t>(code);
}

// Ascending by signed code.
constexpr auto kKeyCodeRows = std::to_array<Remedy>({
    {Code(-9), "FIDO_ERR_INTERNAL", "The security-key library failed in itself.",
     "Update the security-key library; if it comes back, report it to its maker."},
    {Code(-7), "FIDO_ERR_INVALID_ARGUMENT",
     "The security-key library was given something that it does not take.",
     "See that the setting FidoRpId is a plain host name; update the security-key library."},
    {Code(-4), "FIDO_ERR_RX_INVALID_CBOR", "The key's answer could not be read.", kReseat},
    {Code(-3), "FIDO_ERR_RX_NOT_CBOR", "The key's answer could not be read.", kReseat},
    {Code(-2), "FIDO_ERR_RX", "Nothing, or not all, came back from the key.", kReseat},
    {Code(-1), "FIDO_ERR_TX", "Nothing could be sent to the key.", kReseat},
    {0x00, "CTAP2_OK", "The key answered.", "Nothing."},
    {0x01, "CTAP1_ERR_INVALID_COMMAND",
     "The key did not understand the command: it was not ready, or it knows no CTAP 2.", kReseat},
    {0x02, "CTAP1_ERR_INVALID_PARAMETER", "The key does not take what it was asked.", kUpdateKey},
    {0x05, "CTAP1_ERR_TIMEOUT", "The key did not answer in time.", kReseat},
    {0x06, "CTAP1_ERR_CHANNEL_BUSY", "Another program is using the key.",
     "Close what else uses the key: a browser that asks for a passkey, the maker's program. Then try again."},
    {0x14, "CTAP2_ERR_MISSING_PARAMETER", "The key wants more than it was given.", kUpdateKey},
    {0x16, "CTAP2_ERR_UNSUPPORTED_EXTENSION",
     "The key, or the passkey on it, has no hmac-secret, which opens the card.", kRegisterAgain},
    {0x22, "CTAP2_ERR_INVALID_CREDENTIAL", "The key does not take its own passkey any more.",
     kRegisterAgain},
    {0x26, "CTAP2_ERR_UNSUPPORTED_ALGORITHM", "The key lacks the algorithm that is wanted.",
     kUpdateKey},
    {0x27, "CTAP2_ERR_OPERATION_DENIED", "The key was told to stop, or the touch was refused.",
     kTouchInTime},
    {0x2B, "CTAP2_ERR_UNSUPPORTED_OPTION", "The key lacks an option that the sign-in needs.",
     kUpdateKey},
    {0x2C, "CTAP2_ERR_INVALID_OPTION", "The key does not take an option at this time.", kUpdateKey},
    {0x2D, "CTAP2_ERR_KEEPALIVE_CANCEL", "The request was cancelled at the key.", kTouchInTime},
    {0x2E, "CTAP2_ERR_NO_CREDENTIALS",
     "The key has no passkey for this relying party: it was never registered here, was reset, or the setting FidoRpId is not that of its registration.",
     "Compare FidoRpId (KelvorFidoAdLogonAdmin check shows it) with the relying party of the sign-in server. If they are the same, register the key for this account."},
    {0x2F, "CTAP2_ERR_USER_ACTION_TIMEOUT", "Nobody touched the key in time.", kTouchInTime},
    {0x30, "CTAP2_ERR_NOT_ALLOWED", "No key was there, or it refused the command as it stands.",
     "Plug the key in or lay it on the reader before Sign In is clicked. If it is there, see that Windows knows it: Device Manager, Human Interface Devices; and that the PC is not managed to block it."},
    {0x31, "CTAP2_ERR_PIN_INVALID",
     "The PIN was wrong. A key takes eight wrong PINs in all, three of them without being put in anew.",
     "Type the PIN of the key, not the Windows password. If it is forgotten, the key has to be reset and registered again."},
    {0x32, "CTAP2_ERR_PIN_BLOCKED", "The key is locked after too many wrong PINs.", kReset},
    {0x33, "CTAP2_ERR_PIN_AUTH_INVALID",
     "The proof of the PIN was not accepted; mostly the key was taken off in between.", kReseat},
    {0x34, "CTAP2_ERR_PIN_AUTH_BLOCKED",
     "Three wrong PINs in a row: the key wants to be taken off first.",
     "Take the key off, put it back and type the right PIN; after eight wrong ones in all it has to be reset."},
    {0x35, "CTAP2_ERR_PIN_NOT_SET", "The key has no PIN: it is new or was reset.",
     "Set a PIN in Windows' settings (Sign-in options, Security key). If the key was reset, its passkeys are gone: register it again."},
    {0x36, "CTAP2_ERR_PIN_REQUIRED",
     "The key wants its PIN, or it answered without having verified the user.",
     "Type the PIN of the key at the tile. If that does not help, the key verifies in a way that the library does not pass on: update the library."},
    {0x37, "CTAP2_ERR_PIN_POLICY_VIOLATION",
     "The key's PIN is shorter than its policy wants, or has to be changed.",
     "Change the PIN in Windows' settings (Sign-in options, Security key) or with the maker's program."},
    {0x39, "CTAP2_ERR_REQUEST_TOO_LARGE", "The key cannot take a request of this size.",
     kUpdateKey},
    {0x3A, "CTAP2_ERR_ACTION_TIMEOUT", "Nobody touched the key in time.", kTouchInTime},
    {0x3B, "CTAP2_ERR_UP_REQUIRED", "The key wants to be touched.", kTouchInTime},
    {0x3C, "CTAP2_ERR_UV_BLOCKED",
     "The key's own check of the user, such as its fingerprint reader, is locked.", kReset},
    {0x3F, "CTAP2_ERR_UV_INVALID", "The key did not recognise the user.",
     "Try again, with another enrolled finger on a key with a fingerprint reader; otherwise type the PIN."},
    {0x7F, "CTAP1_ERR_OTHER", "The key failed without saying why.", kReseat},
});

}  // namespace

std::span<const Remedy> KeyCodeRemedies()
{
    return kKeyCodeRows;
}

}  // namespace kelvor::admin
