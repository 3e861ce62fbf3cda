#pragma once

#include "credential_provider.h"

#include <atomic>

#include "com_ref.h"
#include "lock.h"
#include "sclogon/logon_handover.h"

namespace kelvor {

// Where a tile stands with its sign-in. The values are what the log shows.
enum class SignInPhase { kIdle = 0, kInFlight = 1, kCompleted = 2 };

// What one run of the sign-in flow produced.
struct SignInOutcome {
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = CPGSR_NO_CREDENTIAL_NOT_FINISHED;
    HRESULT result = S_OK;
    LogonHandover credential;

    bool HasCredential() const noexcept
    {
        return SUCCEEDED(result) && response == CPGSR_RETURN_CREDENTIAL_FINISHED;
    }
};

// The provider's event sink with the context that LogonUI gave for it.
struct ProviderSink {
    ComRef<ICredentialProviderEvents> events;
    UINT_PTR context = 0;
};

// The sign-in of one tile: its phase, the credential that waits to be collected, whom to tell, and
// the marks that other threads look at. Phase, credential and sink are guarded by the tile's lock,
// the rest is atomic; LogonUI's thread, the sign-in's thread and the key watch come here.
class SignInSlot {
 public:
    explicit SignInSlot(const Lock& lock) noexcept : lock_(lock) {}

    SignInPhase Phase() const;
    void Begin();
    // Back to idle, without a credential: no thread could be started.
    void Abandon();
    // Ends a run of the worker: a credential is parked, anything else leaves the slot idle.
    // Returns the sink to tell.
    ProviderSink Finish(SignInOutcome outcome);
    // Takes the parked outcome out and returns to idle.
    SignInOutcome Collect();

    // Replaces the sink; null clears it.
    void SetProviderSink(ICredentialProviderEvents* events, UINT_PTR context);
    bool HasProviderSink() const;

    // True while LogonUI's thread is inside GetSerialization waiting for the sign-in.
    bool Blocking() const noexcept { return blocking_; }
    // False when a blocking sign-in runs already.
    bool EnterBlocking() noexcept { return !blocking_.exchange(true); }
    void LeaveBlocking() noexcept { blocking_ = false; }

    bool PinSubmitted() const noexcept { return pinSubmitted_; }
    void SetPinSubmitted(bool submitted) noexcept { pinSubmitted_ = submitted; }

    // GetTickCount when the logon buffer was handed over; 0 before.
    DWORD HandoverTick() const noexcept { return handoverTick_; }
    void SetHandoverTick(DWORD tick) noexcept { handoverTick_ = tick; }

 private:
    const Lock& lock_;
    SignInPhase phase_ = SignInPhase::kIdle;
    SignInOutcome parked_;
    ProviderSink sink_;
    std::atomic<bool> blocking_{false};
    std::atomic<bool> pinSubmitted_{false};
    std::atomic<DWORD> handoverTick_{0};
};

}  // namespace kelvor
