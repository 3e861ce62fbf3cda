#pragma once

#include "credential_provider.h"

#include <atomic>

#include "handle.h"

namespace kelvor::bench {

// LogonUI's sinks, on the stack of whoever needs them: they count nobody, keep nothing and answer
// at once.
class QuietScreen final : public ICredentialProviderCredentialEvents2 {
 public:
    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = static_cast<ICredentialProviderCredentialEvents2*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP SetFieldState(ICredentialProviderCredential*, DWORD,
                               CREDENTIAL_PROVIDER_FIELD_STATE) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldInteractiveState(ICredentialProviderCredential*, DWORD,
                                          CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldString(ICredentialProviderCredential*, DWORD, LPCWSTR) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldCheckbox(ICredentialProviderCredential*, DWORD, BOOL, LPCWSTR) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldBitmap(ICredentialProviderCredential*, DWORD, HBITMAP) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldComboBoxSelectedItem(ICredentialProviderCredential*, DWORD, DWORD) override
    {
        return S_OK;
    }
    STDMETHODIMP DeleteFieldComboBoxItem(ICredentialProviderCredential*, DWORD, DWORD) override
    {
        return S_OK;
    }
    STDMETHODIMP AppendFieldComboBoxItem(ICredentialProviderCredential*, DWORD, LPCWSTR) override
    {
        return S_OK;
    }
    STDMETHODIMP SetFieldSubmitButton(ICredentialProviderCredential*, DWORD, DWORD) override
    {
        return S_OK;
    }
    STDMETHODIMP OnCreatingWindow(HWND*) override { return S_OK; }
    STDMETHODIMP BeginFieldUpdates() override { return S_OK; }
    STDMETHODIMP EndFieldUpdates() override { return S_OK; }
    STDMETHODIMP SetFieldOptions(ICredentialProviderCredential*, DWORD,
                                 CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS) override
    {
        return S_OK;
    }
};

// Notes when it is told of a change.
class ChangeBell final : public ICredentialProviderEvents {
 public:
    ChangeBell() : rung_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = static_cast<ICredentialProviderEvents*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CredentialsChanged(UINT_PTR) override;

    // Waits for the change; answers when it came, on the clock of NowUs.
    double Wait();

 private:
    UniqueKernelObject rung_;
    std::atomic<double> atUs_{0};
};

}  // namespace kelvor::bench
