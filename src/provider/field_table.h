#pragma once

#include "credential_provider.h"

#include <cstddef>

namespace kelvor {

// The fields of a tile; the value is the field id that LogonUI uses.
enum FieldId : DWORD {
    SFI_TILE_IMAGE = 0,
    SFI_LARGE_TEXT = 1,
    SFI_PIN = 2,
    SFI_ACCOUNT_PICKER = 3,
    SFI_SUBMIT_BUTTON = 4,
    SFI_STATUS_TEXT = 5,
    SFI_FINISH_TEXT = 6,
    SFI_COUNT = 7,
};

// What the provider tells LogonUI about a field, and how the field of a new tile begins.
struct FieldRow {
    CREDENTIAL_PROVIDER_FIELD_TYPE type;
    const wchar_t* label;
    GUID typeGuid;
    CREDENTIAL_PROVIDER_FIELD_STATE state;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactiveState;
    const wchar_t* text;  // null: the field has no string
};

// `field` is below SFI_COUNT.
const FieldRow& FieldTableRow(DWORD field) noexcept;

// A descriptor in COM task memory, label included, that LogonUI owns from then on. Null output on
// failure: E_INVALIDARG for a field that does not exist, E_OUTOFMEMORY.
HRESULT CopyFieldDescriptor(DWORD field, CREDENTIAL_PROVIDER_FIELD_DESCRIPTOR** descriptor);

}  // namespace kelvor
