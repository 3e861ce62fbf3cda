#include <array>

#include "explain/remedies.h"

namespace kelvor::admin {
namespace {

constexpr const char* kProveKdcCertificate =
    "On a domain controller run \"certutil -dcinfo verify\": each controller needs a valid certificate with the usage KDC Authentication (templates Kerberos Authentication or Domain Controller Authentication). Its System log has events 19 and 29 of Kerberos-Key-Distribution-Center when it has none that serves. After a renewal restart the KDC service.";

constexpr const char* kProveMapping =
    "Compare the UPN in the card's certificate (KelvorFidoAdLogonAdmin check shows it) with the account's userPrincipalName. Domain controllers that enforce strong mapping want the account's SID in the certificate (extension 1.3.6.1.4.1.311.25.2) or a strong entry in altSecurityIdentities, such as X509IssuerSerialNumber; their System log tells events 39, 40 and 41 of Kerberos-Key-Distribution-Center otherwise.";

constexpr const char* kPublishAuthority =
    "Look at the store with \"certutil -enterprise -viewstore NTAuth\" and publish the issuing authority with \"certutil -dspublish -f ISSUINGCA.cer NTAuthCA\"; its root belongs into the trusted root store of every domain controller. Run \"gpupdate /force\" on the controllers.";

constexpr const char* kReachRevocationList =
    "On the machine that could not check run \"certutil -verify -urlfetch CERTIFICATE.cer\": it names the address of the list and why it fails. Mend the name resolution, proxy or web server of that address, or publish the list anew when it has expired.";

constexpr const char* kRejoin =
    "As an administrator of the PC run \"Test-ComputerSecureChannel -Repair -Credential DOMAIN\\ADMIN\" in PowerShell; if that fails, leave the domain and join it again. See that no other PC has the same name.";

constexpr const char* kCardServiceAndReader =
    "Run KelvorFidoAdLogonAdmin check: card service, reader and card have to be well. Restart the card service, then try once more.";

// Ascending by code.
constexpr auto kNtStatusRows = std::to_array<Remedy>({
    {0x00000000, "STATUS_SUCCESS", "LSA accepted the sign-in.", "Nothing."},
    {0xC000000D, "STATUS_INVALID_PARAMETER",
     "LSA could not read what it was given, or another authentication module on this PC changed it.",
     "See whether a smart-card or authentication product of another maker runs in LSA, and leave it out for a trial."},
    {0xC0000022, "STATUS_ACCESS_DENIED",
     "Windows let the account in by its certificate, but not into this session.",
     "Look at event 4625 in this PC's Security log: it names what was refused. Then look at the user rights assignments and at authentication policies (silos) of the domain."},
    {0xC000005E, "STATUS_NO_LOGON_SERVERS",
     "No domain controller answered when Windows asked for the logon.",
     "Check network and VPN at the sign-in screen, then \"nltest /dsgetdc:DOMAIN\" and that this PC's DNS servers are the domain's. Ports 88 (Kerberos), 389 (LDAP) and 445 must be open to a domain controller."},
    {0xC0000064, "STATUS_NO_SUCH_USER",
     "No account of the domain belongs to the name in the card's certificate.", kProveMapping},
    {0xC000006D, "STATUS_LOGON_FAILURE",
     "The domain controller refused name or proof without telling which. With certificates it is mostly the mapping to an account.",
     kProveMapping},
    {0xC000006E, "STATUS_ACCOUNT_RESTRICTION",
     "The account is restricted: the substatus tells how.",
     "Explain the substatus. An authentication policy (silo) of the account or its membership in Protected Users can be the reason, too."},
    {0xC000006F, "STATUS_INVALID_LOGON_HOURS", "The account may not sign in at this hour.",
     "Change the account's logon hours, or wait."},
    {0xC0000070, "STATUS_INVALID_WORKSTATION", "The account may not sign in at this PC.",
     "Add this PC to the account's list of computers (Log On To)."},
    {0xC0000071, "STATUS_PASSWORD_EXPIRED", "The account's password has expired.",
     "Change the password, or set \"Smart card is required for interactive logon\" if the account is to have none."},
    {0xC0000072, "STATUS_ACCOUNT_DISABLED", "The account is disabled.",
     "Enable it in the directory if the person is to sign in."},
    {0xC00000B5, "STATUS_IO_TIMEOUT", "The card or a domain controller did not answer in time.",
     kCardServiceAndReader},
    {0xC00000BB, "STATUS_NOT_SUPPORTED",
     "The domain controller cannot do certificate logon; nearly always because it has no KDC certificate.",
     kProveKdcCertificate},
    {0xC0000133, "STATUS_TIME_DIFFERENCE_AT_DC",
     "The clocks of this PC and of the domain controller are more than five minutes apart.",
     "Run \"w32tm /resync\" and \"w32tm /query /status\" on the PC; set the right time zone. On a virtual machine look at the host's clock."},
    {0xC000015B, "STATUS_LOGON_TYPE_NOT_GRANTED",
     "The account has no right to sign in locally at this PC.",
     "Give it the user right \"Allow log on locally\", and see that \"Deny log on locally\" does not name it."},
    {0xC000018A, "STATUS_NO_TRUST_LSA_SECRET",
     "This PC has lost the password of its own domain account.", kRejoin},
    {0xC000018B, "STATUS_NO_TRUST_SAM_ACCOUNT",
     "The domain has no account for this PC, or its service names are registered twice.", kRejoin},
    {0xC000018D, "STATUS_TRUSTED_RELATIONSHIP_FAILURE",
     "This PC and the domain no longer agree about the password of the PC's account.", kRejoin},
    {0xC0000190, "STATUS_TRUST_FAILURE", "This PC's trust relationship with the domain has failed.",
     kRejoin},
    {0xC0000192, "STATUS_NETLOGON_NOT_STARTED", "The Netlogon service of this PC does not run.",
     "Start the service Netlogon and set it to start automatically."},
    {0xC0000193, "STATUS_ACCOUNT_EXPIRED", "The account has expired.",
     "Set a later end of the account in the directory."},
    {0xC0000224, "STATUS_PASSWORD_MUST_CHANGE",
     "The account's password has to be changed before its next sign-in.",
     "Let the person change the password, or take the mark off the account."},
    {0xC0000233, "STATUS_DOMAIN_CONTROLLER_NOT_FOUND",
     "No domain controller of the account's domain was found.",
     "Run \"nltest /dsgetdc:DOMAIN\" with the domain of the account; check DNS and the way to that domain."},
    {0xC0000234, "STATUS_ACCOUNT_LOCKED_OUT", "The account is locked.",
     "Unlock it in the directory, and look for what tries its old password."},
    {0xC00002F9, "STATUS_PKINIT_NAME_MISMATCH",
     "The account's name and the name in the card's certificate differ.", kProveMapping},
    {0xC00002FA, "STATUS_SMARTCARD_LOGON_REQUIRED",
     "The account may sign in with a smart card only, and something else was used.",
     "Sign in by the tile of the security key."},
    {0xC00002FB, "STATUS_KDC_INVALID_REQUEST",
     "The domain controller rejected the request itself: the name, the domain, or what it asks for.",
     "Look at events of Kerberos-Key-Distribution-Center in the domain controller's System log and at event 4768 in its Security log, both at the time of the sign-in; the latter has the Kerberos result code."},
    {0xC0000320, "STATUS_PKINIT_FAILURE",
     "Certificate logon failed between this PC and the domain controller; mostly, this PC does not trust the domain controller's KDC certificate, or the certificate is missing or expired.",
     kProveKdcCertificate},
    {0xC0000321, "STATUS_SMARTCARD_SUBSYSTEM_FAILURE",
     "The virtual card would not sign: the key did not open it, or its time had passed before the domain answered.",
     "If it took more than twenty seconds from the touch to the answer, look for a slow network or domain controller. Otherwise run KelvorFidoAdLogonAdmin check and restart the card service."},
    {0xC0000322, "STATUS_NO_KERB_KEY",
     "The domain controller found no Kerberos key for the account, or the certificate is mapped to another one than is meant.",
     kProveMapping},
    {0xC0000351, "STATUS_UNSUPPORTED_PREAUTH",
     "The domain controller does not take certificates for this account.", kProveKdcCertificate},
    {0xC0000380, "STATUS_SMARTCARD_WRONG_PIN",
     "The virtual card asked for a PIN: the key had not opened it. It is not the key's own PIN that was wrong.",
     kCardServiceAndReader},
    {0xC0000381, "STATUS_SMARTCARD_CARD_BLOCKED", "The virtual card is blocked.",
     "Let the card service set the card up anew for this account."},
    {0xC0000382, "STATUS_SMARTCARD_CARD_NOT_AUTHENTICATED",
     "The virtual card was not opened by the key.", kCardServiceAndReader},
    {0xC0000383, "STATUS_SMARTCARD_NO_CARD",
     "The virtual card was gone from its reader when Windows wanted to use it.",
     kCardServiceAndReader},
    {0xC0000384, "STATUS_SMARTCARD_NO_KEY_CONTAINER",
     "The card has no key container of the name that was given.",
     "If the setting Container is used, see that it names a container of this card, or remove it together with ContainerUpn: the container is found by itself."},
    {0xC0000385, "STATUS_SMARTCARD_NO_CERTIFICATE", "The card's container holds no certificate.",
     "Let the card service set the card up anew for this account."},
    {0xC0000386, "STATUS_SMARTCARD_NO_KEYSET", "The card's container holds no key.",
     "Let the card service set the card up anew for this account."},
    {0xC0000387, "STATUS_SMARTCARD_IO_ERROR", "The card's reader failed while Windows used it.",
     kCardServiceAndReader},
    {0xC0000389, "STATUS_SMARTCARD_CERT_REVOKED",
     "The certificate on the card has been revoked by its authority.",
     "Find out why it was revoked. If the PC and the person are in order, enrol the PC again, so that the card gets a new certificate."},
    {0xC000038A, "STATUS_ISSUING_CA_UNTRUSTED",
     "The authority that issued the card's certificate is not in the domain's NTAuth store.",
     kPublishAuthority},
    {0xC000038B, "STATUS_REVOCATION_OFFLINE_C",
     "The revocation list for the card's certificate could not be reached or has expired.",
     kReachRevocationList},
    {0xC000038C, "STATUS_PKINIT_CLIENT_FAILURE",
     "The domain controller does not trust the card's certificate.", kPublishAuthority},
    {0xC000038D, "STATUS_SMARTCARD_CERT_EXPIRED", "The certificate on the card has expired.",
     "Let the person sign in another way once so that the card service renews the certificate, and find out why it was not renewed in time: its server may be out of reach. Check the PC's clock."},
    {0xC000038F, "STATUS_SMARTCARD_SILENT_CONTEXT",
     "The card wanted to ask for a PIN where nobody can be asked: the key had not opened it.",
     kCardServiceAndReader},
    {0xC000040C, "STATUS_REVOCATION_OFFLINE_KDC",
     "This PC could not check whether the domain controller's certificate is revoked.",
     kReachRevocationList},
    {0xC000040D, "STATUS_ISSUING_CA_UNTRUSTED_KDC",
     "This PC does not trust the authority that issued the domain controller's certificate.",
     kPublishAuthority},
    {0xC000040E, "STATUS_KDC_CERT_EXPIRED", "The domain controller's certificate has expired.",
     kProveKdcCertificate},
    {0xC000040F, "STATUS_KDC_CERT_REVOKED", "The domain controller's certificate is revoked.",
     kProveKdcCertificate},
});

}  // namespace

std::span<const Remedy> NtStatusRemedies()
{
    return kNtStatusRows;
}

}  // namespace kelvor::admin
