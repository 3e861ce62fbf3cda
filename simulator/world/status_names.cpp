#include "world/status_names.h"

namespace kelvor::simulator {

namespace {

struct StatusName {
    DWORD status;
    std::string_view name;
};

// ntstatus.h
constexpr StatusName kStatusNames[] = {
    {0x00000000, "STATUS_SUCCESS"},
    {0xC000000D, "STATUS_INVALID_PARAMETER"},
    {0xC0000022, "STATUS_ACCESS_DENIED"},
    {0xC000005E, "STATUS_NO_LOGON_SERVERS"},
    {0xC0000064, "STATUS_NO_SUCH_USER"},
    {0xC000006A, "STATUS_WRONG_PASSWORD"},
    {0xC000006D, "STATUS_LOGON_FAILURE"},
    {0xC000006E, "STATUS_ACCOUNT_RESTRICTION"},
    {0xC000006F, "STATUS_INVALID_LOGON_HOURS"},
    {0xC0000070, "STATUS_INVALID_WORKSTATION"},
    {0xC0000071, "STATUS_PASSWORD_EXPIRED"},
    {0xC0000072, "STATUS_ACCOUNT_DISABLED"},
    {0xC00000BB, "STATUS_NOT_SUPPORTED"},
    {0xC0000133, "STATUS_TIME_DIFFERENCE_AT_DC"},
    {0xC0000190, "STATUS_TRUST_FAILURE"},
    {0xC0000193, "STATUS_ACCOUNT_EXPIRED"},
    {0xC0000234, "STATUS_ACCOUNT_LOCKED_OUT"},
    {0xC00002F9, "STATUS_PKINIT_NAME_MISMATCH"},
    {0xC00002FB, "STATUS_KDC_INVALID_REQUEST"},
    {0xC0000320, "STATUS_PKINIT_FAILURE"},
    {0xC0000321, "STATUS_SMARTCARD_SUBSYSTEM_FAILURE"},
    {0xC0000322, "STATUS_NO_KERB_KEY"},
    {0xC0000380, "STATUS_SMARTCARD_WRONG_PIN"},
    {0xC0000381, "STATUS_SMARTCARD_CARD_BLOCKED"},
    {0xC0000383, "STATUS_SMARTCARD_NO_CARD"},
    {0xC0000384, "STATUS_SMARTCARD_NO_KEY_CONTAINER"},
    {0xC0000385, "STATUS_SMARTCARD_NO_CERTIFICATE"},
    {0xC0000389, "STATUS_SMARTCARD_CERT_REVOKED"},
    {0xC000038A, "STATUS_ISSUING_CA_UNTRUSTED"},
    {0xC000038B, "STATUS_REVOCATION_OFFLINE_C"},
    {0xC000038C, "STATUS_PKINIT_CLIENT_FAILURE"},
    {0xC000038D, "STATUS_SMARTCARD_CERT_EXPIRED"},
};

}  // namespace

std::optional<DWORD> StatusOfName(std::string_view name)
{
    for (const StatusName& row : kStatusNames) {
        if (row.name == name) {
            return row.status;
        }
    }
    return std::nullopt;
}

std::string_view NameOfStatus(DWORD status)
{
    for (const StatusName& row : kStatusNames) {
        if (row.status == status) {
            return row.name;
        }
    }
    return {};
}

}  // namespace kelvor::simulator
