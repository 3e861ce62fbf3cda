#pragma once

#include "credential_provider.h"

#include <string>
#include <vector>

#include "fido/pending_tap.h"
#include "lock.h"
#include "provider/tile_fields.h"
#include "provider/tile_screen.h"

namespace kelvor {

// The combo box that asks which of a key's accounts to sign in as: its rows, the selection, and
// mirroring both into LogonUI. Guarded by the tile's lock; a change made while LogonUI's thread
// waits in a blocking sign-in is left to that thread.
class AccountPicker {
 public:
    AccountPicker(const Lock& lock, const TileScreen& screen, TileFields& fields) noexcept
        : lock_(lock), screen_(screen), fields_(fields)
    {
    }

    // Fills the rows from the tap's statements, in their order, the first one selected.
    void Show(const PendingTap& tap);
    void Hide();
    // Brings LogonUI's combo box in line with the rows. For a thread that may talk to LogonUI.
    void Apply();

    DWORD RowCount() const;
    // The selected row, 0 when there is none.
    DWORD SelectedRow() const;
    // E_INVALIDARG when there is no such row.
    HRESULT CopyRow(DWORD row, LPWSTR* text) const;
    // E_INVALIDARG, the selection kept, when there is no such row.
    HRESULT Select(DWORD row);

 private:
    void Change(std::vector<std::wstring> rows, CREDENTIAL_PROVIDER_FIELD_STATE state);

    const Lock& lock_;
    const TileScreen& screen_;
    TileFields& fields_;
    std::vector<std::wstring> rows_;
    DWORD selected_ = 0;
    DWORD shown_ = 0;  // how many rows LogonUI's combo box holds
};

}  // namespace kelvor
