#include "provider/tile_fields.h"

#include <shlwapi.h>

#include <utility>

#include "cardsvc/utf_text.h"

namespace kelvor {

HRESULT TileFields::Initialize()
{
    for (DWORD field = 0; field < SFI_COUNT; ++field) {
        const FieldRow& row = FieldTableRow(field);
        SetState(field, row.state);
        if (row.text == nullptr) {
            continue;
        }
        const HRESULT hr = SetString(field, row.text);
        if (FAILED(hr)) {
            return hr;
        }
    }
    return S_OK;
}

CREDENTIAL_PROVIDER_FIELD_STATE TileFields::State(DWORD field) const
{
    return lock_.With([&] { return states_[field]; });
}

void TileFields::SetState(DWORD field, CREDENTIAL_PROVIDER_FIELD_STATE state)
{
    lock_.With([&] { states_[field] = state; });
}

HRESULT TileFields::CopyString(DWORD field, LPWSTR* text) const
{
    return lock_.With([&] { return SHStrDupW(strings_[field].Get(), text); });
}

HRESULT TileFields::SetString(DWORD field, const wchar_t* text)
{
    TaskString copy;
    const HRESULT hr = SHStrDupW(text, copy.Receive());
    lock_.With([&] { std::swap(strings_[field], copy); });
    return hr;
}

HRESULT TileFields::SetPin(const wchar_t* text)
{
    return lock_.With([&] {
        if (slot_.Blocking() || slot_.Phase() == SignInPhase::kInFlight) {
            return S_OK;
        }
        return pin_.Assign(text);
    });
}

SecretText TileFields::TakePin()
{
    return lock_.With([&] {
        SecretText pin = Utf16ToUtf8Secret(pin_.View());
        pin_.Clear();
        return pin;
    });
}

void TileFields::ClearPin()
{
    slot_.SetPinSubmitted(false);
    lock_.With([&] { pin_.Clear(); });
    if (screen_.DeferToLogonUi()) {
        return;
    }
    if (const auto events = screen_.Events()) {
        events->SetFieldString(screen_.Tile(), SFI_PIN, L"");
    }
}

void TileFields::UpdateVisibility(bool keyPresent)
{
    const auto shownIf = [](bool shown) {
        return shown ? CPFS_DISPLAY_IN_SELECTED_TILE : CPFS_HIDDEN;
    };
    struct View {
        CREDENTIAL_PROVIDER_FIELD_STATE pin, finish, submit;
        DWORD submitBeside;
    };
    const View view = lock_.With([&] {
        const bool pickerUp = PickerUp();
        const bool finished = slot_.Phase() == SignInPhase::kCompleted;
        const bool pinWanted = keyPresent && !pickerUp && !slot_.PinSubmitted() && !finished;
        const View next = {shownIf(pinWanted), shownIf(finished), shownIf(keyPresent || finished),
                           pickerUp ? SFI_ACCOUNT_PICKER : (finished ? SFI_FINISH_TEXT : SFI_PIN)};
        states_[SFI_PIN] = next.pin;
        states_[SFI_FINISH_TEXT] = next.finish;
        states_[SFI_SUBMIT_BUTTON] = next.submit;
        return next;
    });
    if (screen_.DeferToLogonUi()) {
        return;
    }
    if (const auto events = screen_.Events()) {
        ICredentialProviderCredential* const tile = screen_.Tile();
        events->SetFieldState(tile, SFI_PIN, view.pin);
        events->SetFieldState(tile, SFI_FINISH_TEXT, view.finish);
        events->SetFieldState(tile, SFI_SUBMIT_BUTTON, view.submit);
        events->SetFieldSubmitButton(tile, SFI_SUBMIT_BUTTON, view.submitBeside);
    }
}

}  // namespace kelvor
