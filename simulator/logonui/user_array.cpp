#include "logonui/user_array.h"

#include <shlwapi.h>

#include <utility>

#include "logonui/com_object.h"

namespace kelvor::simulator {
namespace {

class User final : public ComObject<ICredentialProviderUser> {
 public:
    explicit User(ScreenUser user) : user_(std::move(user)) {}

    STDMETHODIMP GetSid(LPWSTR* sid) override { return Duplicate(user_.sid, sid); }
    STDMETHODIMP GetProviderID(GUID* providerId) override
    {
        *providerId = user_.identityProvider;
        return S_OK;
    }
    STDMETHODIMP GetStringValue(REFPROPERTYKEY key, LPWSTR* value) override
    {
        *value = nullptr;
        if (!IsEqualGUID(key.fmtid, PKEY_Identity_QualifiedUserName.fmtid) ||
            key.pid != PKEY_Identity_QualifiedUserName.pid) {
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        }
        return Duplicate(user_.qualifiedName, value);
    }
    STDMETHODIMP GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        *value = {};
        LPWSTR text = nullptr;
        const HRESULT hr = GetStringValue(key, &text);
        if (SUCCEEDED(hr)) {
            value->vt = VT_LPWSTR;
            value->pwszVal = text;
        }
        return hr;
    }

 private:
    static HRESULT Duplicate(const std::wstring& text, LPWSTR* copy)
    {
        *copy = nullptr;
        return text.empty() ? HRESULT_FROM_WIN32(ERROR_NOT_FOUND) : SHStrDupW(text.c_str(), copy);
    }
    bool Serves(REFIID iid) const noexcept override
    {
        return IsEqualIID(iid, IID_ICredentialProviderUser);
    }

    const ScreenUser user_;
};

class UserArray final : public ComObject<ICredentialProviderUserArray> {
 public:
    explicit UserArray(const std::vector<ScreenUser>& users)
    {
        for (const ScreenUser& user : users) {
            all_.push_back(
                {user.identityProvider, ComRef<ICredentialProviderUser>::Adopt(new User(user))});
        }
        Filter(GUID_NULL);
    }

    STDMETHODIMP SetProviderFilter(REFGUID identityProvider) override
    {
        Filter(identityProvider);
        return S_OK;
    }
    STDMETHODIMP GetAccountOptions(CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS* options) override
    {
        *options = CPAO_NONE;
        return S_OK;
    }
    STDMETHODIMP GetCount(DWORD* count) override
    {
        *count = static_cast<DWORD>(listed_.size());
        return S_OK;
    }
    STDMETHODIMP GetAt(DWORD index, ICredentialProviderUser** user) override
    {
        *user = nullptr;
        if (index >= listed_.size()) {
            return E_INVALIDARG;
        }
        *user = listed_[index].Get();
        (*user)->AddRef();
        return S_OK;
    }

 private:
    struct Entry {
        GUID identityProvider;
        ComRef<ICredentialProviderUser> user;
    };

    bool Serves(REFIID iid) const noexcept override
    {
        return IsEqualIID(iid, IID_ICredentialProviderUserArray);
    }
    void Filter(REFGUID identityProvider)
    {
        listed_.clear();
        for (const Entry& entry : all_) {
            if (IsEqualGUID(identityProvider, GUID_NULL) ||
                IsEqualGUID(identityProvider, entry.identityProvider)) {
                listed_.push_back(entry.user);
            }
        }
    }

    std::vector<Entry> all_;
    std::vector<ComRef<ICredentialProviderUser>> listed_;
};

}  // namespace

ComRef<ICredentialProviderUserArray> MakeUserArray(const std::vector<ScreenUser>& users)
{
    return ComRef<ICredentialProviderUserArray>::Adopt(new UserArray(users));
}

}  // namespace kelvor::simulator
