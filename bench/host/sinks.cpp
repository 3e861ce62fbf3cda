#include "host/sinks.h"

#include <stdexcept>

#include "sampler/stopwatch.h"

namespace kelvor::bench {
namespace {

constexpr DWORD kPatienceMs = 20000;

}  // namespace

STDMETHODIMP ChangeBell::CredentialsChanged(UINT_PTR)
{
    atUs_ = NowUs();
    SetEvent(rung_.Get());
    return S_OK;
}

double ChangeBell::Wait()
{
    if (WaitForSingleObject(rung_.Get(), kPatienceMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the sign-in did not end");
    }
    return atUs_;
}

}  // namespace kelvor::bench
