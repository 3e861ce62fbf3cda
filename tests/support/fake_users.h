#pragma once

#include "credential_provider.h"

#include <optional>
#include <string>
#include <vector>

#include "com_ref.h"

namespace kelvor::test {

// One entry of LogonUI's user list. What is answered with anything but S_OK, S_FALSE included,
// hands nothing out.
struct User {
    std::optional<std::wstring> qualifiedName = L"CORP\\alice";
    std::optional<std::wstring> sid = L"S-1-5-21-1-2-3-1001";
    GUID provider = {0x60B78E88, 0xEAD8, 0x445C, {0x9C, 0xFD, 0x0B, 0x87, 0xF7, 0x4E, 0xA6, 0xCD}};
    HRESULT getAt = S_OK;  // what the list answers when asked for the user
    HRESULT getStringValue = S_OK;
    HRESULT getSid = S_OK;
};

// LogonUI's user list. The caller owns the one reference.
class FakeUserArray : public ICredentialProviderUserArray {
 public:
    static ComRef<FakeUserArray> Make(std::vector<User> users);

    void FailGetCount(HRESULT result) noexcept { getCount_ = result; }
    // References to the list and to its users that others hold.
    ULONG References() const noexcept { return references_; }
    static long LivingUsers() noexcept;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP SetProviderFilter(REFGUID provider) override;
    STDMETHODIMP GetAccountOptions(CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS* options) override;
    STDMETHODIMP GetCount(DWORD* count) override;
    STDMETHODIMP GetAt(DWORD index, ICredentialProviderUser** user) override;

 private:
    explicit FakeUserArray(std::vector<User> users) : users_(std::move(users)) {}
    virtual ~FakeUserArray() = default;

    std::vector<User> users_;
    HRESULT getCount_ = S_OK;
    ULONG references_ = 1;
};

}  // namespace kelvor::test
