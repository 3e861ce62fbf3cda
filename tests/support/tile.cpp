#include "support/tile.h"

#include <objbase.h>

#include <cstring>
#include <utility>

#include "support/method_times.h"

namespace kelvor::test {
namespace {

constexpr DWORD kPinField = 2;
constexpr DWORD kPickerField = 3;
constexpr DWORD kSubmitField = 4;
constexpr DWORD kFieldCount = 7;

// Never a pointer that a module could have handed out.
wchar_t* Rubbish() noexcept
{
    return reinterpret_cast<wchar_t*>(static_cast<UINT_PTR>(0xDEAD));
}

}  // namespace

bool Answer::IsEmpty() const
{
    return result == S_OK && response == CPGSR_NO_CREDENTIAL_NOT_FINISHED && package == 0 &&
           provider == CLSID{} && buffer.empty() && !statusText && statusIcon == CPSI_NONE;
}

Tile::Tile(ComRef<ICredentialProviderCredential> credential)
    : credential_(std::move(credential)), events_(CredentialEvents::Make())
{
}

HRESULT Tile::Advise()
{
    return Timed("Advise", [&] { return credential_->Advise(events_.Get()); });
}

HRESULT Tile::UnAdvise()
{
    return Timed("UnAdvise", [&] { return credential_->UnAdvise(); });
}

void Tile::ReadFields()
{
    for (DWORD field = 0; field < kFieldCount; ++field) {
        State(field);
        if (field == kPickerField) {
            ComboItems();
        } else if (field == kSubmitField) {
            DWORD adjacentTo = 0;
            static_cast<void>(Timed("GetSubmitButtonValue", [&] {
                return credential_->GetSubmitButtonValue(field, &adjacentTo);
            }));
        } else if (field != 0) {
            Text(field);
        }
    }
}

bool Tile::Select()
{
    BOOL autoLogon = FALSE;
    static_cast<void>(Timed("SetSelected", [&] { return credential_->SetSelected(&autoLogon); }));
    return autoLogon != FALSE;
}

void Tile::Deselect()
{
    static_cast<void>(Timed("SetDeselected", [&] { return credential_->SetDeselected(); }));
}

HRESULT Tile::Type(const wchar_t* pin)
{
    return Timed("SetStringValue", [&] { return credential_->SetStringValue(kPinField, pin); });
}

Answer Tile::Click()
{
    Answer answer;
    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION serialization;
    std::memset(&serialization, 0xCD, sizeof serialization);
    LPWSTR text = Rubbish();
    answer.statusIcon = CPSI_WARNING;
    answer.result = Timed("GetSerialization", [&] {
        return credential_->GetSerialization(&answer.response, &serialization, &text,
                                             &answer.statusIcon);
    });
    answer.package = serialization.ulAuthenticationPackage;
    answer.provider = serialization.clsidCredentialProvider;
    if (serialization.rgbSerialization != nullptr) {
        answer.buffer.assign(serialization.rgbSerialization,
                             serialization.rgbSerialization + serialization.cbSerialization);
        SecureZeroMemory(serialization.rgbSerialization, serialization.cbSerialization);
        CoTaskMemFree(serialization.rgbSerialization);
    }
    if (text != nullptr) {
        answer.statusText = text;
        CoTaskMemFree(text);
    }
    return answer;
}

HRESULT Tile::Report(LONG status, LONG substatus)
{
    LPWSTR text = Rubbish();
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_WARNING;
    const HRESULT result = Timed(
        "ReportResult", [&] { return credential_->ReportResult(status, substatus, &text, &icon); });
    return text == nullptr && icon == CPSI_NONE ? result : E_UNEXPECTED;
}

std::optional<std::wstring> Tile::Text(DWORD field)
{
    LPWSTR text = Rubbish();
    if (FAILED(
            Timed("GetStringValue", [&] { return credential_->GetStringValue(field, &text); })) ||
        text == nullptr) {
        return std::nullopt;
    }
    const TaskString own(text);
    return std::wstring(text);
}

CREDENTIAL_PROVIDER_FIELD_STATE Tile::State(DWORD field)
{
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive = CPFIS_NONE;
    static_cast<void>(Timed(
        "GetFieldState", [&] { return credential_->GetFieldState(field, &state, &interactive); }));
    return state;
}

CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE Tile::InteractiveState(DWORD field)
{
    CREDENTIAL_PROVIDER_FIELD_STATE state = CPFS_HIDDEN;
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE interactive = CPFIS_NONE;
    static_cast<void>(Timed(
        "GetFieldState", [&] { return credential_->GetFieldState(field, &state, &interactive); }));
    return interactive;
}

std::vector<std::wstring> Tile::ComboItems()
{
    DWORD count = 0;
    DWORD selected = 0;
    static_cast<void>(Timed("GetComboBoxValueCount", [&] {
        return credential_->GetComboBoxValueCount(kPickerField, &count, &selected);
    }));
    std::vector<std::wstring> items;
    for (DWORD item = 0; item < count; ++item) {
        TaskString text;
        if (SUCCEEDED(Timed("GetComboBoxValueAt", [&] {
                return credential_->GetComboBoxValueAt(kPickerField, item, text.Receive());
            }))) {
            items.emplace_back(text.Get());
        }
    }
    return items;
}

DWORD Tile::ComboSelection()
{
    DWORD count = 0;
    DWORD selected = 0;
    static_cast<void>(Timed("GetComboBoxValueCount", [&] {
        return credential_->GetComboBoxValueCount(kPickerField, &count, &selected);
    }));
    return selected;
}

HRESULT Tile::SelectAccount(DWORD row)
{
    return Timed("SetComboBoxSelectedValue",
                 [&] { return credential_->SetComboBoxSelectedValue(kPickerField, row); });
}

}  // namespace kelvor::test
