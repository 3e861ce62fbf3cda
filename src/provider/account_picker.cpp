#include "provider/account_picker.h"

#include <shlwapi.h>

#include <utility>

#include "diag/log.h"
#include "fido/key_library.h"

namespace kelvor {
namespace {

std::wstring RowText(const KeyStatement& statement)
{
    if (!statement.displayName.empty()) {
        return statement.displayName;
    }
    return statement.accountName.empty() ? L"(unnamed account on this key)" : statement.accountName;
}

}  // namespace

void AccountPicker::Show(const PendingTap& tap)
{
    std::vector<std::wstring> rows;
    rows.reserve(tap.statements.size());
    for (const KeyStatement& statement : tap.statements) {
        rows.push_back(RowText(statement));
    }
    const std::size_t count = rows.size();
    Change(std::move(rows), CPFS_DISPLAY_IN_SELECTED_TILE);
    fields_.ClearPin();
    LogInfo("account picker: the tapped key holds %zu accounts - asking the user which one.",
            count);
}

void AccountPicker::Hide()
{
    Change({}, CPFS_HIDDEN);
}

void AccountPicker::Change(std::vector<std::wstring> rows, CREDENTIAL_PROVIDER_FIELD_STATE state)
{
    lock_.With([&] {
        rows_ = std::move(rows);
        selected_ = 0;
        fields_.SetState(SFI_ACCOUNT_PICKER, state);
    });
    if (!screen_.DeferToLogonUi()) {
        Apply();
    }
}

void AccountPicker::Apply()
{
    const auto events = screen_.Events();
    if (!events) {
        LogWarn("account picker: visibility change DROPPED: no credential-events object.");
        return;
    }
    std::vector<std::wstring> rows;
    DWORD selected = 0;
    DWORD shown = 0;
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    lock_.With([&] {
        rows = rows_;
        selected = selected_;
        shown = shown_;
        state = fields_.State(SFI_ACCOUNT_PICKER);
    });
    ICredentialProviderCredential* const tile = screen_.Tile();
    while (shown > 0) {
        events->DeleteFieldComboBoxItem(tile, SFI_ACCOUNT_PICKER, --shown);
    }
    for (const std::wstring& row : rows) {
        if (SUCCEEDED(events->AppendFieldComboBoxItem(tile, SFI_ACCOUNT_PICKER, row.c_str()))) {
            ++shown;
        }
    }
    lock_.With([&] { shown_ = shown; });
    if (shown > 0) {
        events->SetFieldComboBoxSelectedItem(tile, SFI_ACCOUNT_PICKER,
                                             selected < shown ? selected : 0);
    }
    const HRESULT hr = events->SetFieldState(tile, SFI_ACCOUNT_PICKER, state);
    LogInfo("account picker: combo state -> %d with %lu row(s) (SetFieldState hr=0x%08X)",
            static_cast<int>(state), shown, hr);
    fields_.UpdateVisibility(prov_has_fido_device() != 0);
}

DWORD AccountPicker::RowCount() const
{
    return lock_.With([&] { return static_cast<DWORD>(rows_.size()); });
}

DWORD AccountPicker::SelectedRow() const
{
    return lock_.With([&] { return selected_ < rows_.size() ? selected_ : 0; });
}

HRESULT AccountPicker::CopyRow(DWORD row, LPWSTR* text) const
{
    return lock_.With(
        [&] { return row < rows_.size() ? SHStrDupW(rows_[row].c_str(), text) : E_INVALIDARG; });
}

HRESULT AccountPicker::Select(DWORD row)
{
    const bool inRange = lock_.With([&] {
        if (row >= rows_.size()) {
            return false;
        }
        selected_ = row;
        return true;
    });
    LogInfo("SetComboBoxSelectedValue: account row %lu selected (inRange=%d).", row, inRange);
    return inRange ? S_OK : E_INVALIDARG;
}

}  // namespace kelvor
