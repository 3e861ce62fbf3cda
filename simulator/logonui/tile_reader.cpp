#include "logonui/tile_reader.h"

#include <utility>

#include "com_ref.h"
#include "logonui/serialization.h"

namespace kelvor::simulator {
namespace {

void ReadComboBox(ICredentialProviderCredential& credential, DWORD id, TileField& field)
{
    DWORD count = 0;
    credential.GetComboBoxValueCount(id, &count, &field.selectedRow);
    for (DWORD row = 0; row < count; ++row) {
        TaskString text;
        credential.GetComboBoxValueAt(id, row, text.Receive());
        field.rows.emplace_back(text ? text.Get() : L"");
    }
}

TileField ReadField(ICredentialProviderCredential& credential, DWORD id, TileField field)
{
    credential.GetFieldState(id, &field.state, &field.interactive);
    if (field.type == CPFT_TILE_IMAGE) {
        UniqueBitmap bitmap;
        if (SUCCEEDED(credential.GetBitmapValue(id, bitmap.Receive())) && bitmap) {
            field.image = std::make_shared<const UniqueBitmap>(std::move(bitmap));
        }
    } else if (field.type == CPFT_COMBOBOX) {
        ReadComboBox(credential, id, field);
    } else {
        TaskString text;
        credential.GetStringValue(id, text.Receive());
        field.text = text && field.type != CPFT_PASSWORD_TEXT ? text.Get() : L"";
    }
    if (field.type == CPFT_SUBMIT_BUTTON) {
        credential.GetSubmitButtonValue(id, &field.adjacentTo);
    }
    return field;
}

}  // namespace

void ReadTile(ICredentialProviderCredential& credential, const std::vector<TileField>& descriptors,
              TileModel& model)
{
    for (DWORD id = 0; id < descriptors.size(); ++id) {
        const TileField read = ReadField(credential, id, descriptors[id]);
        model.ChangeField(id, [&](TileField& field) { field = read; });
    }
    ComRef<ICredentialProviderCredentialWithFieldOptions> withOptions;
    if (SUCCEEDED(credential.QueryInterface(IID_ICredentialProviderCredentialWithFieldOptions,
                                            reinterpret_cast<void**>(withOptions.Receive())))) {
        for (DWORD id = 0; id < descriptors.size(); ++id) {
            CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS options = CPCFO_NONE;
            withOptions->GetFieldOptions(id, &options);
        }
    }
}

}  // namespace kelvor::simulator
