#include "provider/credential.h"

#include <shlwapi.h>

#include <utility>

#include "diag/log.h"
#include "fido/key_library.h"
#include "guarded.h"
#include "provider/prompts.h"
#include "signin/result_report.h"
#include "signin/serialization.h"

namespace kelvor {
namespace {

constexpr WORD kTileImageResource = 101;

}  // namespace

CCredential::CCredential(bool otherUser)
    : otherUser_(otherUser),
      slot_(lock_),
      screen_(lock_, slot_, this),
      fields_(lock_, screen_, slot_),
      status_(lock_, screen_, fields_),
      picker_(lock_, screen_, fields_),
      probes_(lock_),
      watch_(lock_, slot_, fields_, status_, probes_)
{
}

IFACEMETHODIMP CCredential::QueryInterface(REFIID riid, void** object)
{
    static const QITAB kInterfaces[] = {
        {&IID_ICredentialProviderCredential,
         static_cast<int>(OFFSETOFCLASS(ICredentialProviderCredential, CCredential))},
        {&IID_ICredentialProviderCredential2,
         static_cast<int>(OFFSETOFCLASS(ICredentialProviderCredential2, CCredential))},
        {&IID_ICredentialProviderCredentialWithFieldOptions,
         static_cast<int>(
             OFFSETOFCLASS(ICredentialProviderCredentialWithFieldOptions, CCredential))},
        {},
    };
    return QISearch(this, kInterfaces, riid, object);
}

IFACEMETHODIMP_(ULONG) CCredential::AddRef()
{
    return lock_.With([&] { return ++references_ + watchReferences_; });
}

IFACEMETHODIMP_(ULONG) CCredential::Release()
{
    // A tile that LogonUI lets go without unadvising it would be watched for ever. The reference is
    // given up after the watch, so that the tile does not end with the watch's thread inside it.
    std::optional<ULONG> left;
    while (!(left = DropReference())) {
        watch_.Stop();
    }
    if (*left == 0) {
        delete this;
    }
    return *left;
}

std::optional<ULONG> CCredential::DropReference()
{
    return lock_.With([&]() -> std::optional<ULONG> {
        if (references_ == 1 && watch_.Runs()) {
            return std::nullopt;
        }
        return --references_ + watchReferences_;
    });
}

void CCredential::WatchSide::AddRef() noexcept
{
    tile_.lock_.With([&] { ++tile_.watchReferences_; });
}

void CCredential::WatchSide::Release() noexcept
{
    const bool last =
        tile_.lock_.With([&] { return --tile_.watchReferences_ + tile_.references_ == 0; });
    if (last) {
        delete &tile_;
    }
}

IFACEMETHODIMP CCredential::Advise(ICredentialProviderCredentialEvents* events)
{
    return Guarded([&] { return screen_.Advise(events); });
}

IFACEMETHODIMP CCredential::UnAdvise()
{
    return Guarded([&] {
        watch_.Stop();
        screen_.UnAdvise();
        return S_OK;
    });
}

IFACEMETHODIMP CCredential::SetSelected(BOOL* autoLogon)
{
    if (AnyNull(autoLogon)) {
        return E_POINTER;
    }
    return Guarded([&] {
        *autoLogon = AwaitsCollection();
        LogInfo("SetSelected: tile user='%ls' otherUser=%d autoLogon=%d",
                userName_.empty() ? L"(none-typed)" : userName_.c_str(), otherUser_, *autoLogon);
        if (BelongsToSignIn()) {
            LogInfo(
                "SetSelected: a sign-in is in flight or awaiting collection - leaving the tile as it is.");
            return S_OK;
        }
        probes_.Start(userName_);
        const bool keyPresent = prov_has_fido_device() != 0;
        fields_.UpdateVisibility(keyPresent);
        ShowPrompt(keyPresent);
        watch_.Start(ComRef<WatchedTile>(&watchSide_));
        return S_OK;
    });
}

IFACEMETHODIMP CCredential::SetDeselected()
{
    return Guarded([&] {
        watch_.Stop();
        if (BelongsToSignIn()) {
            return S_OK;
        }
        const bool tapWaited = ScrubTap();
        picker_.Hide();
        if (tapWaited) {
            LogInfo("account picker: the pending tap was abandoned - scrubbed it.");
        }
        probes_.Discard();
        fields_.ClearPin();
        status_.Set(L"", CPSI_NONE);
        return S_OK;
    });
}

IFACEMETHODIMP CCredential::GetFieldState(
    DWORD field, CREDENTIAL_PROVIDER_FIELD_STATE* state,
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE* interactiveState)
{
    if (AnyNull(state, interactiveState)) {
        return E_POINTER;
    }
    return Guarded([&] {
        *state = CPFS_HIDDEN;
        *interactiveState = CPFIS_NONE;
        if (field >= SFI_COUNT) {
            return E_INVALIDARG;
        }
        *state = fields_.State(field);
        *interactiveState = FieldTableRow(field).interactiveState;
        if (field == SFI_STATUS_TEXT && !statusLayoutLogged_.exchange(true)) {
            LogInfo(
                "GetFieldState(SFI_STATUS_TEXT): LogonUI is laying the status line out (cpfs=%d).",
                static_cast<int>(*state));
        }
        return S_OK;
    });
}

IFACEMETHODIMP CCredential::GetStringValue(DWORD field, LPWSTR* value)
{
    if (AnyNull(value)) {
        return E_POINTER;
    }
    return Guarded([&]() -> HRESULT {
        *value = nullptr;
        if (field >= SFI_COUNT) {
            return E_INVALIDARG;
        }
        const HRESULT hr = fields_.CopyString(field, value);
        if (field == SFI_STATUS_TEXT && !statusReadLogged_.exchange(true)) {
            LogInfo("GetStringValue(SFI_STATUS_TEXT): LogonUI read the status line (hr=0x%08X).",
                    hr);
        }
        return hr;
    });
}

IFACEMETHODIMP CCredential::GetBitmapValue(DWORD field, HBITMAP* bitmap)
{
    if (AnyNull(bitmap)) {
        return E_POINTER;
    }
    *bitmap = nullptr;
    if (field != SFI_TILE_IMAGE) {
        return E_INVALIDARG;
    }
    *bitmap = LoadBitmapW(ModuleInstance(), MAKEINTRESOURCEW(kTileImageResource));
    return *bitmap != nullptr ? S_OK : FailureResult(GetLastError());
}

IFACEMETHODIMP CCredential::GetCheckboxValue(DWORD /*field*/, BOOL* checked, LPWSTR* label)
{
    if (AnyNull(checked, label)) {
        return E_POINTER;
    }
    *checked = FALSE;
    *label = nullptr;
    return E_INVALIDARG;
}

IFACEMETHODIMP CCredential::GetSubmitButtonValue(DWORD field, DWORD* adjacentTo)
{
    if (AnyNull(adjacentTo)) {
        return E_POINTER;
    }
    *adjacentTo = 0;
    if (field != SFI_SUBMIT_BUTTON) {
        return E_INVALIDARG;
    }
    *adjacentTo = SFI_PIN;
    return S_OK;
}

IFACEMETHODIMP CCredential::GetComboBoxValueCount(DWORD field, DWORD* count, DWORD* selected)
{
    if (AnyNull(count, selected)) {
        return E_POINTER;
    }
    *count = 0;
    *selected = 0;
    if (field != SFI_ACCOUNT_PICKER) {
        return E_INVALIDARG;
    }
    *count = picker_.RowCount();
    *selected = picker_.SelectedRow();
    return S_OK;
}

IFACEMETHODIMP CCredential::GetComboBoxValueAt(DWORD field, DWORD item, LPWSTR* text)
{
    if (AnyNull(text)) {
        return E_POINTER;
    }
    *text = nullptr;
    return field == SFI_ACCOUNT_PICKER ? picker_.CopyRow(item, text) : E_INVALIDARG;
}

IFACEMETHODIMP CCredential::SetStringValue(DWORD field, LPCWSTR text)
{
    return field == SFI_PIN ? fields_.SetPin(text) : E_INVALIDARG;
}

IFACEMETHODIMP CCredential::SetCheckboxValue(DWORD /*field*/, BOOL /*checked*/)
{
    return E_INVALIDARG;
}

IFACEMETHODIMP CCredential::SetComboBoxSelectedValue(DWORD field, DWORD item)
{
    return field == SFI_ACCOUNT_PICKER ? picker_.Select(item) : E_INVALIDARG;
}

IFACEMETHODIMP CCredential::CommandLinkClicked(DWORD /*field*/)
{
    return E_INVALIDARG;
}

IFACEMETHODIMP CCredential::GetSerialization(
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE* response,
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* serialization, LPWSTR* statusText,
    CREDENTIAL_PROVIDER_STATUS_ICON* statusIcon)
{
    if (AnyNull(response, serialization, statusText, statusIcon)) {
        return E_POINTER;
    }
    return Guarded([&] {
        return SerializeSignIn(*this, {response, serialization, statusText, statusIcon});
    });
}

IFACEMETHODIMP CCredential::ReportResult(NTSTATUS status, NTSTATUS substatus, LPWSTR* statusText,
                                         CREDENTIAL_PROVIDER_STATUS_ICON* statusIcon)
{
    if (AnyNull(statusText, statusIcon)) {
        return E_POINTER;
    }
    *statusText = nullptr;
    *statusIcon = CPSI_NONE;
    Shielded([&] { ReportSignInResult(*this, status, substatus); });
    return S_OK;
}

IFACEMETHODIMP CCredential::GetUserSid(LPWSTR* sid)
{
    if (AnyNull(sid)) {
        return E_POINTER;
    }
    *sid = nullptr;
    if (sid_.empty()) {
        LogInfo("GetUserSid: no SID (otherUser=%d) -> S_FALSE", otherUser_);
        return S_FALSE;
    }
    LogInfo("GetUserSid: '%ls' for user '%ls'", sid_,
            userName_.empty() ? L"(none)" : userName_.c_str());
    return SHStrDupW(sid_.c_str(), sid);
}

IFACEMETHODIMP CCredential::GetFieldOptions(DWORD field,
                                            CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS* options)
{
    if (AnyNull(options)) {
        return E_POINTER;
    }
    *options = field == SFI_TILE_IMAGE ? CPCFO_ENABLE_TOUCH_KEYBOARD_AUTO_INVOKE : CPCFO_NONE;
    return S_OK;
}

bool CCredential::BelongsToSignIn() const
{
    return slot_.Blocking() || slot_.Phase() != SignInPhase::kIdle;
}

void CCredential::ShowPrompt(bool keyPresent)
{
    if (status_.HoldsError() && !status_.Empty()) {
        LogInfo("SetSelected: keeping the previous error on screen rather than overwriting it.");
    } else if (fields_.PickerUp()) {
        status_.Set(kPickerPrompt, CPSI_NONE);
    } else {
        status_.Set(keyPresent ? kKeyPresentPrompt : kNoKeyPrompt, CPSI_NONE);
    }
}

bool CCredential::ScrubTap()
{
    return lock_.With([&] {
        const bool waited = tap_.valid;
        ScrubPendingTap(tap_);
        return waited;
    });
}

}  // namespace kelvor
