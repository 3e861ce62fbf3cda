#pragma once

namespace kelvor::simulator {

// Codes of the security-key library. Above zero: status codes of the FIDO Client to Authenticator
// Protocol 2.1, section 8.2. Below zero: trouble between the library and the key, by libfido2's
// numbering.
enum KeyCode : int {
    kKeySuccess = 0,
    kKeyReceiveFailed = -2,
    kKeyInvalidArgument = -7,
    kKeyInternal = -9,
    kKeyStoreFull = 0x28,
    kKeyNoCredentials = 0x2E,
    kKeyUserActionTimeout = 0x2F,
    kKeyNotAllowed = 0x30,
    kKeyPinInvalid = 0x31,
    kKeyPinBlocked = 0x32,
    kKeyPinAuthBlocked = 0x34,
    kKeyPinNotSet = 0x35,
    kKeyPinRequired = 0x36,
};

// A short English text for any code, of static storage.
const char* KeyCodeText(int code) noexcept;

}  // namespace kelvor::simulator
