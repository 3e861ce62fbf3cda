#include "signin/card_provisioning.h"

#include "cardsvc/commands.h"
#include "diag/log.h"
#include "sclogon/logon_certificate.h"
#include "sclogon/reader.h"
#include "settings/settings.h"
#include "signin/relying_party.h"
#include "signin/status_texts.h"

namespace kelvor {
namespace {

bool IsCardProvisioned()
{
    ServiceStatus status;
    std::wstring reason;
    if (SUCCEEDED(QueryStatus(status, reason))) {
        LogInfo("GetSerialization: the card service reports provisioned=%d (card hiding %s).",
                status.provisioned, status.cardHidden ? "ON" : "off");
        return status.provisioned;
    }
    const bool ready = IsLogonCardReady();
    LogWarn(
        "GetSerialization: could not ask the card service whether this PC is set up (%ls) - falling back to the reader probe, which says %d.",
        reason, ready);
    return ready;
}

SignInServer ProvisioningServer()
{
    SignInServer server;
    server.url = ReadServerBaseUrl();
    server.rpId = ReadProvisioningRpId();
    if (server.rpId.empty()) {
        server.rpId = RelyingPartyOfUrl(server.url);
    }
    LogInfo("GetSerialization: JIT rpId='%ls' (server base '%ls').", server.rpId, server.url);
    return server;
}

void LetCardSettle()
{
    WaitForCardSettle();
    std::wstring container;
    if (!FindLogonCertificate(ReadSettingString(kCspValue, kDefaultCsp), container, nullptr)) {
        LogWarn(
            "GetSerialization: card present but no logon container yet after settle - attempting the logon build anyway.");
    }
}

}  // namespace

bool EnsureCardIsProvisioned(SignInTile& tile, const SecretText& pin, std::wstring& upn)
{
    if (IsCardProvisioned()) {
        return true;
    }
    LogInfo(
        "GetSerialization: the FIDO gate is off and this PC has no card profile - asking the service to provision one (it owns the tap on this path).");
    const SignInServer server = ProvisioningServer();
    tile.SetStatus(kTouchKeyText, CPSI_NONE);
    std::wstring reason;
    const HRESULT hr = ProvisionCard(server, pin, upn, reason);
    if (FAILED(hr)) {
        LogError("GetSerialization: JIT provisioning failed hr=0x%08X (%ls)", hr, reason);
        tile.SetStatus(WithReason(L"Couldn't set up sign-in: ", reason).c_str(), CPSI_ERROR);
        return false;
    }
    tile.SetStatus(L"Finishing setup…", CPSI_NONE);
    LetCardSettle();
    tile.SetStatus(kSigningInWithKeyText, CPSI_NONE);
    return true;
}

}  // namespace kelvor
