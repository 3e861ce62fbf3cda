#pragma once

#include "credential_provider.h"

#include "signin/sign_in_tile.h"

namespace kelvor {

// What LogonUI gave GetSerialization to fill. All four are valid pointers.
struct SerializationOutputs {
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE* response;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* serialization;
    LPWSTR* statusText;
    CREDENTIAL_PROVIDER_STATUS_ICON* statusIcon;

    // Not finished, nothing to hand back.
    void Clear() const noexcept;
    // Gives the credential to LogonUI, which owns its buffer from then on.
    void Fill(SignInOutcome outcome) const noexcept;
};

// One Sign In click, or LogonUI coming to collect. Starts the sign-in on a worker and answers at
// once; hands a finished credential over; where the worker is not possible signs in while LogonUI's
// thread, which is the one that calls, pumps its messages.
HRESULT SerializeSignIn(SignInTile& tile, const SerializationOutputs& outputs);

}  // namespace kelvor
