#include "support/fake_users.h"

#include <objbase.h>
#include <shlwapi.h>

#include <cstring>
#include <utility>

namespace kelvor::test {
namespace {

long livingUsers = 0;

bool Same(const PROPERTYKEY& a, const PROPERTYKEY& b) noexcept
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

class FakeUser : public ICredentialProviderUser {
 public:
    explicit FakeUser(User user) : user_(std::move(user)) { ++livingUsers; }

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        *object = nullptr;
        if (riid != IID_IUnknown && riid != IID_ICredentialProviderUser) {
            return E_NOINTERFACE;
        }
        *object = static_cast<ICredentialProviderUser*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0) {
            --livingUsers;
            delete this;
        }
        return left;
    }
    STDMETHODIMP GetSid(LPWSTR* sid) override { return Give(user_.getSid, user_.sid, sid); }
    STDMETHODIMP GetProviderID(GUID* provider) override
    {
        *provider = user_.provider;
        return S_OK;
    }
    STDMETHODIMP GetStringValue(REFPROPERTYKEY key, LPWSTR* value) override
    {
        *value = nullptr;
        return Same(key, PKEY_Identity_QualifiedUserName)
                   ? Give(user_.getStringValue, user_.qualifiedName, value)
                   : E_INVALIDARG;
    }
    STDMETHODIMP GetValue(REFPROPERTYKEY, PROPVARIANT*) override { return E_NOTIMPL; }

 private:
    virtual ~FakeUser() = default;

    static HRESULT Give(HRESULT result, const std::optional<std::wstring>& text, LPWSTR* out)
    {
        *out = nullptr;
        if (result != S_OK) {
            return result;
        }
        return text ? SHStrDupW(text->c_str(), out) : E_FAIL;
    }

    User user_;
    ULONG references_ = 1;
};

}  // namespace

ComRef<FakeUserArray> FakeUserArray::Make(std::vector<User> users)
{
    return ComRef<FakeUserArray>::Adopt(new FakeUserArray(std::move(users)));
}

long FakeUserArray::LivingUsers() noexcept
{
    return livingUsers;
}

STDMETHODIMP FakeUserArray::QueryInterface(REFIID riid, void** object)
{
    *object = nullptr;
    if (riid != IID_IUnknown && riid != IID_ICredentialProviderUserArray) {
        return E_NOINTERFACE;
    }
    *object = static_cast<ICredentialProviderUserArray*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) FakeUserArray::AddRef()
{
    return ++references_;
}

STDMETHODIMP_(ULONG) FakeUserArray::Release()
{
    const ULONG left = --references_;
    if (left == 0) {
        delete this;
    }
    return left;
}

STDMETHODIMP FakeUserArray::SetProviderFilter(REFGUID)
{
    return S_OK;
}

STDMETHODIMP FakeUserArray::GetAccountOptions(CREDENTIAL_PROVIDER_ACCOUNT_OPTIONS* options)
{
    *options = CPAO_NONE;
    return S_OK;
}

STDMETHODIMP FakeUserArray::GetCount(DWORD* count)
{
    if (FAILED(getCount_)) {
        return getCount_;
    }
    *count = static_cast<DWORD>(users_.size());
    return S_OK;
}

STDMETHODIMP FakeUserArray::GetAt(DWORD index, ICredentialProviderUser** user)
{
    *user = nullptr;
    if (index >= users_.size()) {
        return E_INVALIDARG;
    }
    if (users_[index].getAt != S_OK) {
        return users_[index].getAt;
    }
    *user = new FakeUser(users_[index]);
    return S_OK;
}

}  // namespace kelvor::test
