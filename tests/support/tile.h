#pragma once

#include "credential_provider.h"

#include <optional>
#include <string>
#include <vector>

#include "com_ref.h"
#include "support/event_sinks.h"

namespace kelvor::test {

// What one GetSerialization handed to LogonUI. Every output held rubbish before the call, so what
// reads as empty here was cleared by the module.
struct Answer {
    HRESULT result = E_UNEXPECTED;
    CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response = CPGSR_NO_CREDENTIAL_FINISHED;
    ULONG package = 0;
    CLSID provider = {};
    std::vector<unsigned char> buffer;
    std::optional<std::wstring> statusText;
    CREDENTIAL_PROVIDER_STATUS_ICON statusIcon = CPSI_NONE;

    bool IsEmpty() const;  // S_OK, not finished, no buffer, no text
};

// One tile in LogonUI's hands, with the sink that LogonUI gave it.
class Tile {
 public:
    explicit Tile(ComRef<ICredentialProviderCredential> credential);

    HRESULT Advise();
    HRESULT UnAdvise();
    // LogonUI's first look: the state and the content of every field.
    void ReadFields();

    // What SetSelected answered for auto-logon.
    bool Select();
    void Deselect();
    HRESULT Type(const wchar_t* pin);
    Answer Click();
    // LogonUI reports what LSA said; the optional outputs must stay empty.
    HRESULT Report(LONG status, LONG substatus = 0);

    // GetStringValue of a field, nothing when it fails.
    std::optional<std::wstring> Text(DWORD field);
    CREDENTIAL_PROVIDER_FIELD_STATE State(DWORD field);
    CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE InteractiveState(DWORD field);
    std::vector<std::wstring> ComboItems();
    DWORD ComboSelection();
    HRESULT SelectAccount(DWORD row);

    ICredentialProviderCredential* operator->() const { return credential_.Get(); }
    ICredentialProviderCredential* Get() const { return credential_.Get(); }
    CredentialEvents& Events() const { return *events_.Get(); }

 private:
    ComRef<ICredentialProviderCredential> credential_;
    ComRef<CredentialEvents> events_;
};

}  // namespace kelvor::test
