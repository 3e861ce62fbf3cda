#include "provider/directory.h"

#define SECURITY_WIN32
#include <security.h>
// windows.h and security.h first: these two rely on them.
#include <dsgetdc.h>
#include <lm.h>

#include "handle.h"

namespace kelvor {
namespace {

constexpr ULONG kUpnCapacityChars = 512;

struct NetBufferPolicy {
    using Handle = DOMAIN_CONTROLLER_INFOW*;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle buffer) noexcept { NetApiBufferFree(buffer); }
};

}  // namespace

DWORD LocateDomainController(std::wstring& name)
{
    Unique<NetBufferPolicy> controller;
    const DWORD error =
        DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, DS_RETURN_DNS_NAME, controller.Receive());
    if (error == ERROR_SUCCESS && controller && controller.Get()->DomainControllerName != nullptr) {
        name = controller.Get()->DomainControllerName;
    }
    return error;
}

std::wstring UpnOfAccount(const std::wstring& samName)
{
    wchar_t upn[kUpnCapacityChars] = {};
    ULONG capacityChars = kUpnCapacityChars;
    if (!TranslateNameW(samName.c_str(), NameSamCompatible, NameUserPrincipal, upn,
                        &capacityChars)) {
        return {};
    }
    upn[kUpnCapacityChars - 1] = L'\0';
    return upn;
}

}  // namespace kelvor
