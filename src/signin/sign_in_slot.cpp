#include "signin/sign_in_slot.h"

#include <utility>

namespace kelvor {

SignInPhase SignInSlot::Phase() const
{
    return lock_.With([&] { return phase_; });
}

void SignInSlot::Begin()
{
    lock_.With([&] { phase_ = SignInPhase::kInFlight; });
    pinSubmitted_ = true;
}

void SignInSlot::Abandon()
{
    lock_.With([&] { phase_ = SignInPhase::kIdle; });
}

ProviderSink SignInSlot::Finish(SignInOutcome outcome)
{
    return lock_.With([&] {
        phase_ = outcome.HasCredential() ? SignInPhase::kCompleted : SignInPhase::kIdle;
        parked_ = std::move(outcome);
        return sink_;
    });
}

SignInOutcome SignInSlot::Collect()
{
    return lock_.With([&] {
        phase_ = SignInPhase::kIdle;
        return std::exchange(parked_, SignInOutcome());
    });
}

void SignInSlot::SetProviderSink(ICredentialProviderEvents* events, UINT_PTR context)
{
    ProviderSink next{ComRef<ICredentialProviderEvents>(events), context};
    lock_.With([&] { std::swap(sink_, next); });
}

bool SignInSlot::HasProviderSink() const
{
    return lock_.With([&] { return static_cast<bool>(sink_.events); });
}

}  // namespace kelvor
