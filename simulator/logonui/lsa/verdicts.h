#pragma once

#include <windows.h>

#include <ntsecapi.h>

#include <string>
#include <string_view>

namespace kelvor::simulator {

// How a logon can end; each has its row in the table of NTSTATUS values.
enum class Verdict {
    kAccepted,
    kMalformedBuffer,
    kNoLogonServers,
    kNoSuchUser,
    kNoCertificateLogon,
    kNameMismatch,
    kKdcUntrusted,
    kNoCard,
    kNoContainer,
    kGateClosed,
    kWrongPin,
    kCertificateRevoked,
    kIssuerUntrusted,
    kRevocationOffline,
    kCertificateUnfit,
    kCertificateExpired,
};

// What a domain controller, or the card, answers for it.
NTSTATUS StatusOf(Verdict verdict);

// The Windows name of a status, "STATUS_..."; its number in hex when the table does not have it.
std::string StatusName(NTSTATUS status);

// A status as a scenario writes it: "accepted" or a Windows name. False when it is neither.
bool ParseStatus(std::string_view text, NTSTATUS& status);

}  // namespace kelvor::simulator
