#include "signin/serialization.h"

#include <utility>

#include "detached_thread.h"
#include "diag/log.h"
#include "fido/key_library.h"
#include "guarded.h"
#include "module_lifetime.h"
#include "signin/blocking_sign_in.h"
#include "signin/sign_in_flow.h"

namespace kelvor {
namespace {

HRESULT Collect(SignInTile& tile, const SerializationOutputs& outputs)
{
    outputs.Clear();
    SignInOutcome outcome = tile.Slot().Collect();
    const HRESULT result = outcome.result;
    const auto response = outcome.response;
    LogInfo(
        "GetSerialization: handing over the credential the worker built (%lu bytes, AP %lu, hr=0x%08X).",
        outcome.credential.SizeBytes(), outcome.credential.Package(), result);
    outputs.Fill(std::move(outcome));
    tile.UpdateFieldVisibility(prov_has_fido_device() != 0);
    tile.TakeOptionalStatus(response, outputs.statusText, outputs.statusIcon);
    return result;
}

void TellLogonUi(SignInTile& tile, const ProviderSink& sink)
{
    if (sink.events) {
        sink.events->CredentialsChanged(sink.context);
    } else if (tile.IsOtherUser()) {
        LogInfo("async submit: no provider events -- parked for the user's next Sign In click.");
    } else {
        LogError("async submit: no provider events -- the credential cannot be collected.");
    }
}

void SignInOnWorker(SignInTile& tile)
{
    SignInOutcome outcome;
    RunSignIn(tile, outcome);
    const bool succeeded = outcome.HasCredential();
    const HRESULT result = outcome.result;
    const ULONG sizeBytes = outcome.credential.SizeBytes();
    const ProviderSink sink = tile.Slot().Finish(std::move(outcome));
    if (!succeeded) {
        LogInfo(
            "async submit: no credential produced (hr=0x%08X) -- the reason is on the tile and the user can submit again.",
            result);
        tile.ClearPin();
        tile.UpdateFieldVisibility(true);
        return;
    }
    if (tile.IsOtherUser()) {
        tile.ClearPin();
        tile.UpdateFieldVisibility(true);
        tile.SetStatus(L"Your security key is verified.", CPSI_SUCCESS);
    }
    LogInfo("async submit: credential ready (%lu bytes) -- asking LogonUI to collect it.",
            sizeBytes);
    TellLogonUi(tile, sink);
}

// False when no thread was to be had; the slot is idle again then.
bool StartWorker(SignInTile& tile)
{
    tile.StopKeyWatch();
    tile.Slot().Begin();
    tile.UpdateFieldVisibility(prov_has_fido_device() != 0);
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    Shielded([&] {
        error =
            StartDetachedThread([&tile, keepAlive = tile.KeepAlive()] { SignInOnWorker(tile); });
    });
    if (error == ERROR_SUCCESS) {
        LogInfo(
            "GetSerialization: sign-in started on a worker; returning NOT_FINISHED so the tile stays on screen and its progress is visible.");
        return true;
    }
    tile.Slot().Abandon();
    LogWarn("GetSerialization: CreateThread failed (%lu) -- signing in the blocking way instead.",
            error);
    return false;
}

}  // namespace

void SerializationOutputs::Clear() const noexcept
{
    *response = CPGSR_NO_CREDENTIAL_NOT_FINISHED;
    *serialization = {};
    *statusText = nullptr;
    *statusIcon = CPSI_NONE;
}

void SerializationOutputs::Fill(SignInOutcome outcome) const noexcept
{
    *response = outcome.response;
    if (!outcome.HasCredential()) {
        return;
    }
    serialization->ulAuthenticationPackage = outcome.credential.Package();
    serialization->clsidCredentialProvider = kProviderClassId;
    serialization->cbSerialization = outcome.credential.SizeBytes();
    serialization->rgbSerialization = outcome.credential.Release();
}

HRESULT SerializeSignIn(SignInTile& tile, const SerializationOutputs& outputs)
{
    outputs.Clear();
    switch (tile.Slot().Phase()) {
        case SignInPhase::kCompleted:
            return Collect(tile, outputs);
        case SignInPhase::kInFlight:
            LogInfo("GetSerialization: a sign-in is already running -- nothing to hand back yet.");
            return S_OK;
        case SignInPhase::kIdle:
            break;
    }
    // A blocking sign-in has no phase of its own; one that runs already refuses this call itself.
    const bool workerFits =
        !tile.Slot().Blocking() && (tile.IsOtherUser() || tile.Slot().HasProviderSink());
    if (workerFits && StartWorker(tile)) {
        return S_OK;
    }
    return SignInBlocking(tile, outputs);
}

}  // namespace kelvor
