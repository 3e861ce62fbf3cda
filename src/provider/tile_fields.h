#pragma once

#include "credential_provider.h"

#include <array>

#include "com_ref.h"
#include "lock.h"
#include "provider/field_table.h"
#include "provider/pin_text.h"
#include "provider/tile_screen.h"
#include "secret.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

// The seven fields of one tile as LogonUI reads them, the typed PIN among them. All of it is
// guarded by the tile's lock; LogonUI's thread, the sign-in's thread and the key watch come here.
class TileFields {
 public:
    TileFields(const Lock& lock, const TileScreen& screen, SignInSlot& slot) noexcept
        : lock_(lock), screen_(screen), slot_(slot)
    {
    }

    // Gives every field the state and string it begins with.
    HRESULT Initialize();

    // `field` is below SFI_COUNT in all of these.
    CREDENTIAL_PROVIDER_FIELD_STATE State(DWORD field) const;
    void SetState(DWORD field, CREDENTIAL_PROVIDER_FIELD_STATE state);
    // A copy in COM task memory; the duplicator's result.
    HRESULT CopyString(DWORD field, LPWSTR* text) const;
    HRESULT SetString(DWORD field, const wchar_t* text);

    // True while the account picker is on the tile.
    bool PickerUp() const { return State(SFI_ACCOUNT_PICKER) != CPFS_HIDDEN; }

    // Keeps a copy of what was typed, unless a sign-in runs: its PIN cannot change under it.
    HRESULT SetPin(const wchar_t* text);
    // Moves the PIN out, as UTF-8.
    SecretText TakePin();
    // Wipes the PIN, empties its field and shows it again when it was hidden for a sign-in.
    void ClearPin();

    // Shows the PIN field, the submit button and the finish text as phase, picker and key have it,
    // and moves the button next to the field that is used last.
    void UpdateVisibility(bool keyPresent);

 private:
    const Lock& lock_;
    const TileScreen& screen_;
    SignInSlot& slot_;
    std::array<CREDENTIAL_PROVIDER_FIELD_STATE, SFI_COUNT> states_{};
    std::array<TaskString, SFI_COUNT> strings_;
    PinText pin_;
};

}  // namespace kelvor
