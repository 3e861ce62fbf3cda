#include "key/codes.h"

namespace kelvor::simulator {

namespace {

struct CodeText {
    int code;
    const char* text;
};

constexpr CodeText kCodeTexts[] = {
    {-9, "FIDO_ERR_INTERNAL"},
    {-8, "FIDO_ERR_USER_PRESENCE_REQUIRED"},
    {-7, "FIDO_ERR_INVALID_ARGUMENT"},
    {-6, "FIDO_ERR_INVALID_SIG"},
    {-5, "FIDO_ERR_INVALID_PARAM"},
    {-4, "FIDO_ERR_RX_INVALID_CBOR"},
    {-3, "FIDO_ERR_RX_NOT_CBOR"},
    {-2, "FIDO_ERR_RX"},
    {-1, "FIDO_ERR_TX"},
    {0x00, "FIDO_OK"},
    {0x01, "FIDO_ERR_INVALID_COMMAND"},
    {0x02, "FIDO_ERR_INVALID_PARAMETER"},
    {0x03, "FIDO_ERR_INVALID_LENGTH"},
    {0x05, "FIDO_ERR_TIMEOUT"},
    {0x06, "FIDO_ERR_CHANNEL_BUSY"},
    {0x16, "FIDO_ERR_UNSUPPORTED_EXTENSION"},
    {0x22, "FIDO_ERR_INVALID_CREDENTIAL"},
    {0x27, "FIDO_ERR_OPERATION_DENIED"},
    {0x28, "FIDO_ERR_KEY_STORE_FULL"},
    {0x2D, "FIDO_ERR_KEEPALIVE_CANCEL"},
    {0x2E, "FIDO_ERR_NO_CREDENTIALS"},
    {0x2F, "FIDO_ERR_USER_ACTION_TIMEOUT"},
    {0x30, "FIDO_ERR_NOT_ALLOWED"},
    {0x31, "FIDO_ERR_PIN_INVALID"},
    {0x32, "FIDO_ERR_PIN_BLOCKED"},
    {0x33, "FIDO_ERR_PIN_AUTH_INVALID"},
    {0x34, "FIDO_ERR_PIN_AUTH_BLOCKED"},
    {0x35, "FIDO_ERR_PIN_NOT_SET"},
    {0x36, "FIDO_ERR_PIN_REQUIRED"},
    {0x37, "FIDO_ERR_PIN_POLICY_VIOLATION"},
    {0x3A, "FIDO_ERR_ACTION_TIMEOUT"},
    {0x3B, "FIDO_ERR_UP_REQUIRED"},
    {0x3C, "FIDO_ERR_UV_BLOCKED"},
    {0x3F, "FIDO_ERR_UV_INVALID"},
    {0x7F, "FIDO_ERR_ERR_OTHER"},
};

}  // namespace

const char* KeyCodeText(int code) noexcept
{
    for (const CodeText& row : kCodeTexts) {
        if (row.code == code) {
            return row.text;
        }
    }
    return "FIDO_ERR_UNKNOWN";
}

}  // namespace kelvor::simulator
