#include "sclogon/auth_package.h"

#include <ntsecapi.h>

#include "handle.h"

namespace kelvor {
namespace {

struct LsaConnectionPolicy {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle connection) noexcept { LsaDeregisterLogonProcess(connection); }
};
using LsaConnection = Unique<LsaConnectionPolicy>;

HRESULT StatusResult(NTSTATUS status) noexcept
{
    return status < 0 ? HRESULT_FROM_NT(status) : S_OK;
}

}  // namespace

HRESULT RetrieveAuthPackage(ULONG& package)
{
    package = 0;
    LsaConnection connection;
    const HRESULT connected = StatusResult(LsaConnectUntrusted(connection.Receive()));
    if (FAILED(connected)) {
        return connected;
    }
    char name[] = "Kerberos";
    LSA_STRING kerberos = {sizeof name - 1, sizeof name, name};
    const HRESULT found =
        StatusResult(LsaLookupAuthenticationPackage(connection.Get(), &kerberos, &package));
    if (FAILED(found)) {
        package = 0;
    }
    return found;
}

}  // namespace kelvor
