#include <array>

#include "explain/remedies.h"

namespace kelvor::admin {
namespace {

constexpr const char* kFindDomainController =
    "Check network and VPN, then \"nltest /dsgetdc:DOMAIN\". This PC's DNS servers must be the domain's: \"nslookup -type=SRV _ldap._tcp.dc._msdcs.DOMAIN\" has to list domain controllers. See that the PC is joined: \"systeminfo\" names its domain.";

// Ascending by code.
constexpr auto kSystemErrorRows = std::to_array<Remedy>({
    {2, "ERROR_FILE_NOT_FOUND",
     "Behind CreateFile(pipe): the card service does not offer its pipe. As the result of a start of the module: a library is missing.",
     "Start the card service. See with KelvorFidoAdLogonAdmin check that the security-key library is there."},
    {5, "ERROR_ACCESS_DENIED",
     "Behind CreateFile(pipe): the card service's pipe does not let this account in.",
     "LogonUI runs as SYSTEM: the pipe's permissions must let SYSTEM read and write. They are set by the card service."},
    {8, "ERROR_NOT_ENOUGH_MEMORY", "The PC was out of memory.",
     "Restart the PC. If it comes back, find the process that takes the memory."},
    {109, "ERROR_BROKEN_PIPE",
     "The card service ended the connection in the middle of an exchange.",
     "Look at the card service's own log: it crashed or was restarted."},
    {126, "ERROR_MOD_NOT_FOUND",
     "A library was not found: the module's own file, the security-key library or one that it needs.",
     "Run KelvorFidoAdLogonAdmin check, and put the missing library into the system folder."},
    {127, "ERROR_PROC_NOT_FOUND",
     "A library lacks a function that is called: the security-key library has the wrong version.",
     "Run KelvorFidoAdLogonAdmin check: it names the function. Install the security-key library that belongs to this version."},
    {193, "ERROR_BAD_EXE_FORMAT",
     "A library is not one for 64-bit Windows, or its file is damaged.",
     "Put the 64-bit file into the system folder."},
    {231, "ERROR_PIPE_BUSY", "All pipe instances of the card service were taken.",
     "Restart the card service if it lasts."},
    {995, "ERROR_OPERATION_ABORTED",
     "The card service did not read the request in time, and it was given up.",
     "The card service hangs: restart it and look at its own log."},
    {1311, "ERROR_NO_LOGON_SERVERS", "No domain controller could be reached.",
     kFindDomainController},
    {1332, "ERROR_NONE_MAPPED", "The directory does not know an account of this name.",
     "Check how the account is written: DOMAIN\\name, with the domain's NetBIOS name."},
    {1355, "ERROR_NO_SUCH_DOMAIN",
     "No domain controller was found: the network is not there, DNS does not know the domain, or the PC is not joined to one.",
     kFindDomainController},
    {1722, "RPC_S_SERVER_UNAVAILABLE", "A domain controller was named but did not answer.",
     kFindDomainController},
    {1788, "ERROR_TRUSTED_DOMAIN_FAILURE",
     "The trust between this PC's domain and the account's domain has failed.",
     "Verify it with \"netdom trust\" or in Active Directory Domains and Trusts."},
    {1789, "ERROR_TRUSTED_RELATIONSHIP_FAILURE",
     "This PC and the domain no longer agree about the password of the PC's account.",
     "As an administrator of the PC run \"Test-ComputerSecureChannel -Repair\" in PowerShell; if that fails, join the domain again."},
    {9003, "DNS_ERROR_RCODE_NAME_ERROR", "DNS does not know the domain's name.",
     kFindDomainController},
});

}  // namespace

std::span<const Remedy> SystemErrorRemedies()
{
    return kSystemErrorRows;
}

}  // namespace kelvor::admin
