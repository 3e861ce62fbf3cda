#include "logonui/lsa/verdicts.h"

#include <cstdlib>
#include <iterator>
#include <stdexcept>

#include "logonui/console_text.h"

namespace kelvor::simulator {
namespace {

struct VerdictRow {
    Verdict verdict;
    unsigned long status;
};

// From ntstatus.h; which one a refusal gets is what a domain controller was seen to answer.
constexpr VerdictRow kVerdicts[] = {
    {Verdict::kAccepted, 0x00000000},
    {Verdict::kMalformedBuffer, 0xC000000D},
    {Verdict::kNoLogonServers, 0xC000005E},
    {Verdict::kNoSuchUser, 0xC0000064},
    {Verdict::kNoCard, 0xC0000383},
    {Verdict::kNoContainer, 0xC0000384},
    {Verdict::kGateClosed, 0xC0000321},
    {Verdict::kWrongPin, 0xC0000380},
    {Verdict::kCertificateRevoked, 0xC0000389},
    {Verdict::kIssuerUntrusted, 0xC000038A},
    {Verdict::kRevocationOffline, 0xC000038B},
    {Verdict::kCertificateUnfit, 0xC000038C},
    {Verdict::kCertificateExpired, 0xC000038D},
};

struct StatusRow {
    unsigned long status;
    const char* name;
};

constexpr StatusRow kNames[] = {
    {0x00000000, "STATUS_SUCCESS"},
    {0xC000000D, "STATUS_INVALID_PARAMETER"},
    {0xC000005E, "STATUS_NO_LOGON_SERVERS"},
    {0xC0000064, "STATUS_NO_SUCH_USER"},
    {0xC000006D, "STATUS_LOGON_FAILURE"},
    {0xC0000072, "STATUS_ACCOUNT_DISABLED"},
    {0xC00000BB, "STATUS_NOT_SUPPORTED"},
    {0xC0000190, "STATUS_TRUST_FAILURE"},
    {0xC0000234, "STATUS_ACCOUNT_LOCKED_OUT"},
    {0xC00002FB, "STATUS_KDC_INVALID_REQUEST"},
    {0xC0000320, "STATUS_PKINIT_FAILURE"},
    {0xC0000321, "STATUS_SMARTCARD_SUBSYSTEM_FAILURE"},
    {0xC0000322, "STATUS_NO_KERB_KEY"},
    {0xC0000380, "STATUS_SMARTCARD_WRONG_PIN"},
    {0xC0000383, "STATUS_SMARTCARD_NO_CARD"},
    {0xC0000384, "STATUS_SMARTCARD_NO_KEY_CONTAINER"},
    {0xC0000389, "STATUS_SMARTCARD_CERT_REVOKED"},
    {0xC000038A, "STATUS_ISSUING_CA_UNTRUSTED"},
    {0xC000038B, "STATUS_REVOCATION_OFFLINE_C"},
    {0xC000038C, "STATUS_PKINIT_CLIENT_FAILURE"},
    {0xC000038D, "STATUS_SMARTCARD_CERT_EXPIRED"},
};

}  // namespace

NTSTATUS StatusOf(Verdict verdict)
{
    for (const VerdictRow& row : kVerdicts) {
        if (row.verdict == verdict) {
            return static_cast<NTSTATUS>(row.status);
        }
    }
    throw std::logic_error("a verdict without a status");
}

std::string StatusName(NTSTATUS status)
{
    for (const StatusRow& row : kNames) {
        if (row.status == static_cast<unsigned long>(status)) {
            return row.name;
        }
    }
    return Hex32(static_cast<unsigned long>(status));
}

bool ParseStatus(std::string_view text, NTSTATUS& status)
{
    if (text == "accepted") {
        status = 0;
        return true;
    }
    for (const StatusRow& row : kNames) {
        if (text == row.name) {
            status = static_cast<NTSTATUS>(row.status);
            return true;
        }
    }
    const std::string digits(text);
    char* end = nullptr;
    const unsigned long value = std::strtoul(digits.c_str(), &end, 0);
    status = static_cast<NTSTATUS>(value);
    return !digits.empty() && *end == '\0';
}

}  // namespace kelvor::simulator
