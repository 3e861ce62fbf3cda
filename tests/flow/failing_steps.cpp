#include "failing_steps.h"

#include <new>

#include "cardsvc/commands.h"
#include "fido/assertion.h"
#include "sclogon/logon_buffer.h"

namespace kelvor {

HRESULT FidoPinBegin(PendingTap& /*tap*/, std::wstring& /*reason*/, const SecretText& /*pin*/)
{
    return test::Steps().tap;
}

HRESULT ProvisionCard(const SignInServer& /*server*/, const SecretText& /*authPin*/,
                      std::wstring& /*upn*/, std::wstring& /*reason*/)
{
    return test::Steps().provision;
}

HRESULT QueryStatus(ServiceStatus& status, std::wstring& /*reason*/)
{
    status = {};
    return S_OK;
}

HRESULT BuildCertificateLogon(const LogonRequest& /*request*/, LogonHandover& /*handover*/,
                              std::wstring& /*reason*/, std::wstring& /*resolvedUpn*/)
{
    if (test::Steps().buildRunsOutOfMemory) {
        throw std::bad_alloc();
    }
    return test::Steps().build;
}

}  // namespace kelvor

namespace kelvor::test {

FailingSteps& Steps() noexcept
{
    static FailingSteps steps;
    return steps;
}

}  // namespace kelvor::test
