#include "logonui/lsa/verdicts.h"

#include <stdexcept>

#include "logonui/console_text.h"
#include "world/status_names.h"

namespace kelvor::simulator {
namespace {

struct VerdictRow {
    Verdict verdict;
    unsigned long status;
};

// From ntstatus.h; which one a refusal gets is what a domain controller was seen to answer.
constexpr VerdictRow kVerdicts[] = {
    {Verdict::kAccepted, 0x00000000},           {Verdict::kMalformedBuffer, 0xC000000D},
    {Verdict::kNoLogonServers, 0xC000005E},     {Verdict::kNoSuchUser, 0xC0000064},
    {Verdict::kNoCertificateLogon, 0xC00000BB}, {Verdict::kNameMismatch, 0xC00002F9},
    {Verdict::kKdcUntrusted, 0xC0000320},       {Verdict::kNoCard, 0xC0000383},
    {Verdict::kNoContainer, 0xC0000384},        {Verdict::kGateClosed, 0xC0000321},
    {Verdict::kWrongPin, 0xC0000380},           {Verdict::kCertificateRevoked, 0xC0000389},
    {Verdict::kIssuerUntrusted, 0xC000038A},    {Verdict::kRevocationOffline, 0xC000038B},
    {Verdict::kCertificateUnfit, 0xC000038C},   {Verdict::kCertificateExpired, 0xC000038D},
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
    const auto code = static_cast<DWORD>(status);
    const std::string_view name = NameOfStatus(code);
    return name.empty() ? Hex32(code) : std::string(name);
}

bool ParseStatus(std::string_view text, NTSTATUS& status)
{
    if (text == "accepted") {
        status = 0;
        return true;
    }
    const auto code = StatusOfName(text);
    status = static_cast<NTSTATUS>(code.value_or(0));
    return code.has_value();
}

}  // namespace kelvor::simulator
