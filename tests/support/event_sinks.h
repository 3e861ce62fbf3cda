#pragma once

#include "credential_provider.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "com_ref.h"
#include "handle.h"
#include "lock.h"

namespace kelvor::test {

// LogonUI's sink of a provider. Any thread.
class ProviderEvents : public ICredentialProviderEvents {
 public:
    struct Change {
        UINT_PTR context = 0;
        DWORD threadId = 0;
    };
    static ComRef<ProviderEvents> Make();

    std::vector<Change> Changes() const;
    // Waits for the first CredentialsChanged after the last wait; false after ten seconds.
    bool WaitForChange() const;
    // Runs inside every call, on the calling thread, after it was kept.
    void SetOnChange(std::function<void()> onChange);
    // What every call answers from now on.
    void SetAnswer(HRESULT answer);
    ULONG References() const noexcept;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP CredentialsChanged(UINT_PTR context) override;

 private:
    ProviderEvents();
    virtual ~ProviderEvents() = default;

    mutable LONG references_ = 1;
    Lock lock_;
    std::vector<Change> changes_;
    std::function<void()> onChange_;
    HRESULT answer_ = S_OK;
    UniqueKernelObject changed_;
};

// One call that a tile made of its sink.
struct FieldCall {
    std::string method;  // "SetFieldString" and so on
    DWORD field = 0;
    DWORD number = 0;   // the state, adjacent field, item or selection
    std::wstring text;  // of SetFieldString and AppendFieldComboBoxItem
    DWORD threadId = 0;

    friend bool operator==(const FieldCall& a, const FieldCall& b)
    {
        return a.method == b.method && a.field == b.field && a.number == b.number &&
               a.text == b.text;
    }
};

// LogonUI's sink of a tile: keeps every call, and the screen that results. Any thread.
class CredentialEvents : public ICredentialProviderCredentialEvents2 {
 public:
    static ComRef<CredentialEvents> Make();

    std::vector<FieldCall> Calls() const;
    // Calls of one method for one field, in order.
    std::vector<FieldCall> Calls(const char* method, DWORD field) const;
    // The texts that field 5 was given, in order.
    std::vector<std::wstring> Statuses() const;
    void Forget();

    // What the screen shows now. A field that was never set shows "" and state -1.
    std::wstring Text(DWORD field) const;
    int State(DWORD field) const;
    int SubmitAdjacentTo() const;
    std::vector<std::wstring> ComboItems() const;
    int ComboSelection() const;

    // Waits until field 5 shows `text`; false after ten seconds.
    bool WaitForStatus(const std::wstring& text) const;
    // What a method answers from now on ("SetFieldState", "AppendFieldComboBoxItem", ...).
    void Fail(const char* method, HRESULT result);
    // Runs inside every call, on the calling thread, before it is kept.
    void SetOnCall(std::function<void(const FieldCall&)> onCall);
    // QueryInterface refuses ICredentialProviderCredentialEvents2.
    void SetOld(bool old) noexcept { old_ = old; }
    ULONG References() const noexcept;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP SetFieldState(ICredentialProviderCredential* credential, DWORD field,
                               CREDENTIAL_PROVIDER_FIELD_STATE state) override;
    STDMETHODIMP SetFieldInteractiveState(
        ICredentialProviderCredential* credential, DWORD field,
        CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE state) override;
    STDMETHODIMP SetFieldString(ICredentialProviderCredential* credential, DWORD field,
                                LPCWSTR text) override;
    STDMETHODIMP SetFieldCheckbox(ICredentialProviderCredential* credential, DWORD field,
                                  BOOL isChecked, LPCWSTR label) override;
    STDMETHODIMP SetFieldBitmap(ICredentialProviderCredential* credential, DWORD field,
                                HBITMAP bitmap) override;
    STDMETHODIMP SetFieldComboBoxSelectedItem(ICredentialProviderCredential* credential,
                                              DWORD field, DWORD item) override;
    STDMETHODIMP DeleteFieldComboBoxItem(ICredentialProviderCredential* credential, DWORD field,
                                         DWORD item) override;
    STDMETHODIMP AppendFieldComboBoxItem(ICredentialProviderCredential* credential, DWORD field,
                                         LPCWSTR text) override;
    STDMETHODIMP SetFieldSubmitButton(ICredentialProviderCredential* credential, DWORD field,
                                      DWORD adjacentTo) override;
    STDMETHODIMP OnCreatingWindow(HWND* owner) override;
    STDMETHODIMP BeginFieldUpdates() override;
    STDMETHODIMP EndFieldUpdates() override;
    STDMETHODIMP SetFieldOptions(ICredentialProviderCredential* credential, DWORD field,
                                 CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS options) override;

 private:
    CredentialEvents();
    virtual ~CredentialEvents() = default;
    HRESULT Keep(FieldCall call);
    void Show(const FieldCall& call);

    mutable LONG references_ = 1;
    bool old_ = false;
    Lock lock_;
    std::vector<FieldCall> calls_;
    std::map<DWORD, std::wstring> texts_;
    std::map<DWORD, int> states_;
    int submitAdjacentTo_ = -1;
    std::vector<std::wstring> comboItems_;
    int comboSelection_ = -1;
    std::map<std::string, HRESULT> failures_;
    std::function<void(const FieldCall&)> onCall_;
    UniqueKernelObject changed_;
};

}  // namespace kelvor::test
