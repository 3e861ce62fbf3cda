#include "signin/nt_status_text.h"

#include <algorithm>
#include <iterator>

namespace kelvor {
namespace {

struct Row {
    unsigned long status;
    StatusText answer;
};

// Ascending by code; codes and names are those of ntstatus.h.
constexpr Row kRows[] = {
    {0xC000005E,
     {L"STATUS_NO_LOGON_SERVERS",
      L"No domain controller could be reached. Check this PC's network connection and try again — your security key is fine."}},
    {0xC0000064,
     {L"STATUS_NO_SUCH_USER",
      L"The domain does not recognise the account this security key is enrolled to. Its certificate could not be mapped to a user."}},
    {0xC00000BB,
     {L"STATUS_NOT_SUPPORTED",
      L"The domain refused this sign-in. Your security key is not the problem — see the log, and check that the domain controller has a KDC certificate."}},
    {0xC0000190,
     {L"STATUS_TRUST_FAILURE",
      L"This PC's trust relationship with the domain has failed. Ask your administrator to rejoin it."}},
    {0xC00002FB,
     {L"STATUS_KDC_INVALID_REQUEST",
      L"The domain controller rejected the sign-in request. See the log for the status code."}},
    {0xC0000320,
     {L"STATUS_PKINIT_FAILURE",
      L"The domain controller could not complete certificate sign-in. Its own KDC certificate is usually the cause — ask your administrator to check it."}},
    {0xC0000321,
     {L"STATUS_SMARTCARD_SUBSYSTEM_FAILURE",
      L"Your security key was verified, but this PC's smart card would not sign. The key did not unlock it — enter your security key PIN and try again."}},
    {0xC0000322,
     {L"STATUS_NO_KERB_KEY",
      L"The domain could not find a Kerberos key for this account. Ask your administrator to check the account's certificate mapping."}},
    {0xC0000380,
     {L"STATUS_SMARTCARD_WRONG_PIN",
      L"The card refused the PIN. Enter your security key PIN and try again."}},
    {0xC0000389,
     {L"STATUS_SMARTCARD_CERT_REVOKED",
      L"This PC's sign-in certificate has been revoked. Ask your administrator to re-enrol this computer."}},
    {0xC000038A,
     {L"STATUS_ISSUING_CA_UNTRUSTED",
      L"The authority that issued this PC's sign-in certificate is not trusted by the domain. Ask your administrator to publish it to the NTAuth store."}},
    {0xC000038B,
     {L"STATUS_REVOCATION_OFFLINE_C",
      L"The domain controller could not check whether this PC's sign-in certificate is revoked. It is a network or CRL problem, not your key."}},
    {0xC000038C,
     {L"STATUS_PKINIT_CLIENT_FAILURE",
      L"The domain controller does not trust this PC's sign-in certificate. Ask your administrator to check that its issuing CA is trusted for smart-card logon."}},
    {0xC000038D,
     {L"STATUS_SMARTCARD_CERT_EXPIRED",
      L"This PC's sign-in certificate has expired and must be renewed. Sign in another way once, or ask your administrator."}},
};
static_assert(std::ranges::is_sorted(kRows, {}, &Row::status));

constexpr StatusText kUnmapped = {
    L"(unmapped)",
    L"Domain sign-in failed. See the log for the status code — it names the stage that refused."};

}  // namespace

bool StatusText::Mapped() const noexcept
{
    return name != kUnmapped.name;
}

StatusText NtStatusText(LONG status) noexcept
{
    const auto* const row =
        std::ranges::find(kRows, static_cast<unsigned long>(status), &Row::status);
    return row != std::end(kRows) ? row->answer : kUnmapped;
}

}  // namespace kelvor
