#include "provider/field_table.h"

#include <shlwapi.h>

#include "com_ref.h"

namespace kelvor {
namespace {

constexpr GUID kNoGuid = {};

// Not constexpr: the SDK keeps the value of a field type in a library.
const FieldRow kFields[SFI_COUNT] = {
    {CPFT_TILE_IMAGE, L"Image", CPFG_CREDENTIAL_PROVIDER_LOGO, CPFS_DISPLAY_IN_BOTH, CPFIS_NONE,
     nullptr},
    {CPFT_LARGE_TEXT, L"Sign in with security key", kNoGuid, CPFS_DISPLAY_IN_BOTH, CPFIS_NONE,
     L"Sign in with security key"},
    {CPFT_PASSWORD_TEXT, L"Security Key PIN", kNoGuid, CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_FOCUSED,
     L""},
    {CPFT_COMBOBOX, L"Account", kNoGuid, CPFS_HIDDEN, CPFIS_NONE, L""},
    {CPFT_SUBMIT_BUTTON, L"Sign In", kNoGuid, CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_NONE,
     L"Sign In"},
    {CPFT_SMALL_TEXT, L"Status", kNoGuid, CPFS_DISPLAY_IN_SELECTED_TILE, CPFIS_NONE, L""},
    {CPFT_SMALL_TEXT, L"Finish", kNoGuid, CPFS_HIDDEN, CPFIS_NONE, L"Click Sign In to finish."},
};

}  // namespace

const FieldRow& FieldTableRow(DWORD field) noexcept
{
    return kFields[field];
}

HRESULT CopyFieldDescriptor(DWORD field, CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR** descriptor)
{
    *descriptor = nullptr;
    if (field >= SFI_COUNT) {
        return E_INVALIDARG;
    }
    TaskMemory<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR> copy(
        static_cast<CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR*>(
            CoTaskMemAlloc(sizeof(CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR))));
    if (!copy) {
        return E_OUTOFMEMORY;
    }
    const FieldRow& row = kFields[field];
    *copy.Get() = {field, row.type, nullptr, row.typeGuid};
    const HRESULT hr = SHStrDupW(row.label, &copy.Get()->pszLabel);
    if (SUCCEEDED(hr)) {
        *descriptor = copy.Release();
    }
    return hr;
}

}  // namespace kelvor
