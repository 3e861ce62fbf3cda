// The directory, LSA and this PC's name.
#include <windows.h>

#include <ntsecapi.h>
#include <dsgetdc.h>
#include <lm.h>
#define SECURITY_WIN32
#include <security.h>

#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

// Of ntstatus.h.
constexpr auto kNoMemory = static_cast<NTSTATUS>(0xC0000017);
constexpr auto kPortRefused = static_cast<NTSTATUS>(0xC0000041);
constexpr auto kNoSuchPackage = static_cast<NTSTATUS>(0xC00000FE);
constexpr auto kInvalidHandle = static_cast<NTSTATUS>(0xC0000008);

}  // namespace

void AddDomainFunctions(Fallibles& all)
{
    Add<"DsGetDcNameW", decltype(DsGetDcNameW)>(
        all, Area::kSideIssue,
        {{"ERROR_NO_SUCH_DOMAIN", ERROR_NO_SUCH_DOMAIN},
         {"ERROR_NOT_ENOUGH_MEMORY", ERROR_NOT_ENOUGH_MEMORY}});
    Add<"NetApiBufferFree", decltype(NetApiBufferFree)>(
        all, Area::kSideIssue, {{"ERROR_INVALID_PARAMETER", kCarriedOut, ERROR_INVALID_PARAMETER}});
    Add<"TranslateNameW", decltype(TranslateNameW)>(
        all, Area::kSideIssue,
        {{"ERROR_NONE_MAPPED", BOOLEAN{FALSE}, ERROR_NONE_MAPPED},
         {"ERROR_INSUFFICIENT_BUFFER", BOOLEAN{FALSE}, ERROR_INSUFFICIENT_BUFFER},
         {"ERROR_NO_SUCH_DOMAIN", BOOLEAN{FALSE}, ERROR_NO_SUCH_DOMAIN}});
    Add<"GetComputerNameExW", decltype(GetComputerNameExW)>(
        all, Area::kSideIssue, {{"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA}});
    Add<"LsaConnectUntrusted", decltype(LsaConnectUntrusted)>(
        all, Area::kKerberos,
        {{"STATUS_NO_MEMORY", kNoMemory}, {"STATUS_PORT_CONNECTION_REFUSED", kPortRefused}});
    Add<"LsaLookupAuthenticationPackage", decltype(LsaLookupAuthenticationPackage)>(
        all, Area::kKerberos,
        {{"STATUS_NO_SUCH_PACKAGE", kNoSuchPackage}, {"STATUS_NO_MEMORY", kNoMemory}});
    Add<"LsaDeregisterLogonProcess", decltype(LsaDeregisterLogonProcess)>(
        all, Area::kSideIssue, {{"STATUS_INVALID_HANDLE", kCarriedOut, kInvalidHandle}});
}

}  // namespace kelvor::trust
