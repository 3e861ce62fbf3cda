#include "support/event_sinks.h"

#include <utility>

namespace kelvor::test {
namespace {

constexpr DWORD kPatienceMs = 10'000;
constexpr DWORD kStatusField = 5;

std::wstring TextOf(LPCWSTR text)
{
    return text != nullptr ? text : L"(null)";
}

}  // namespace

ComRef<ProviderEvents> ProviderEvents::Make()
{
    return ComRef<ProviderEvents>::Adopt(new ProviderEvents);
}

ProviderEvents::ProviderEvents() : changed_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

std::vector<ProviderEvents::Change> ProviderEvents::Changes() const
{
    return lock_.With([&] { return changes_; });
}

bool ProviderEvents::WaitForChange() const
{
    return WaitForSingleObject(changed_.Get(), kPatienceMs) == WAIT_OBJECT_0;
}

void ProviderEvents::SetOnChange(std::function<void()> onChange)
{
    lock_.With([&] { onChange_ = std::move(onChange); });
}

void ProviderEvents::SetAnswer(HRESULT answer)
{
    lock_.With([&] { answer_ = answer; });
}

ULONG ProviderEvents::References() const noexcept
{
    return static_cast<ULONG>(InterlockedCompareExchange(&references_, 0, 0));
}

STDMETHODIMP ProviderEvents::QueryInterface(REFIID riid, void** object)
{
    *object = nullptr;
    if (riid != IID_IUnknown && riid != IID_ICredentialProviderEvents) {
        return E_NOINTERFACE;
    }
    *object = static_cast<ICredentialProviderEvents*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) ProviderEvents::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&references_));
}

STDMETHODIMP_(ULONG) ProviderEvents::Release()
{
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

STDMETHODIMP ProviderEvents::CredentialsChanged(UINT_PTR context)
{
    const auto onChange = lock_.With([&] {
        changes_.push_back({context, GetCurrentThreadId()});
        return onChange_;
    });
    SetEvent(changed_.Get());
    if (onChange) {
        onChange();
    }
    return lock_.With([&] { return answer_; });
}

ComRef<CredentialEvents> CredentialEvents::Make()
{
    return ComRef<CredentialEvents>::Adopt(new CredentialEvents);
}

CredentialEvents::CredentialEvents() : changed_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

std::vector<FieldCall> CredentialEvents::Calls() const
{
    return lock_.With([&] { return calls_; });
}

std::vector<FieldCall> CredentialEvents::Calls(const char* method, DWORD field) const
{
    std::vector<FieldCall> calls = Calls();
    std::erase_if(
        calls, [&](const FieldCall& call) { return call.method != method || call.field != field; });
    return calls;
}

std::vector<std::wstring> CredentialEvents::Statuses() const
{
    std::vector<std::wstring> texts;
    for (const FieldCall& call : Calls("SetFieldString", kStatusField)) {
        texts.push_back(call.text);
    }
    return texts;
}

void CredentialEvents::Forget()
{
    lock_.With([&] { calls_.clear(); });
}

std::wstring CredentialEvents::Text(DWORD field) const
{
    return lock_.With([&] {
        const auto found = texts_.find(field);
        return found != texts_.end() ? found->second : std::wstring();
    });
}

int CredentialEvents::State(DWORD field) const
{
    return lock_.With([&] {
        const auto found = states_.find(field);
        return found != states_.end() ? found->second : -1;
    });
}

int CredentialEvents::SubmitAdjacentTo() const
{
    return lock_.With([&] { return submitAdjacentTo_; });
}

std::vector<std::wstring> CredentialEvents::ComboItems() const
{
    return lock_.With([&] { return comboItems_; });
}

int CredentialEvents::ComboSelection() const
{
    return lock_.With([&] { return comboSelection_; });
}

bool CredentialEvents::WaitForStatus(const std::wstring& text) const
{
    while (Text(kStatusField) != text) {
        if (WaitForSingleObject(changed_.Get(), kPatienceMs) != WAIT_OBJECT_0) {
            return Text(kStatusField) == text;
        }
    }
    return true;
}

void CredentialEvents::Fail(const char* method, HRESULT result)
{
    lock_.With([&] { failures_[method] = result; });
}

void CredentialEvents::SetOnCall(std::function<void(const FieldCall&)> onCall)
{
    lock_.With([&] { onCall_ = std::move(onCall); });
}

ULONG CredentialEvents::References() const noexcept
{
    return static_cast<ULONG>(InterlockedCompareExchange(&references_, 0, 0));
}

STDMETHODIMP CredentialEvents::QueryInterface(REFIID riid, void** object)
{
    *object = nullptr;
    const bool known = riid == IID_IUnknown || riid == IID_ICredentialProviderCredentialEvents ||
                       (riid == IID_ICredentialProviderCredentialEvents2 && !old_);
    if (!known) {
        return E_NOINTERFACE;
    }
    *object = static_cast<ICredentialProviderCredentialEvents2*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CredentialEvents::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&references_));
}

STDMETHODIMP_(ULONG) CredentialEvents::Release()
{
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

STDMETHODIMP CredentialEvents::SetFieldState(ICredentialProviderCredential*, DWORD field,
                                             CREDENTIAL_PROVIDER_FIELD_STATE state)
{
    return Keep({"SetFieldState", field, static_cast<DWORD>(state), {}, 0});
}

STDMETHODIMP CredentialEvents::SetFieldInteractiveState(
    ICredentialProviderCredential*, DWORD field, CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE state)
{
    return Keep({"SetFieldInteractiveState", field, static_cast<DWORD>(state), {}, 0});
}

STDMETHODIMP CredentialEvents::SetFieldString(ICredentialProviderCredential*, DWORD field,
                                              LPCWSTR text)
{
    return Keep({"SetFieldString", field, 0, TextOf(text), 0});
}

STDMETHODIMP CredentialEvents::SetFieldCheckbox(ICredentialProviderCredential*, DWORD field,
                                                BOOL isChecked, LPCWSTR label)
{
    return Keep({"SetFieldCheckbox", field, static_cast<DWORD>(isChecked), TextOf(label), 0});
}

STDMETHODIMP CredentialEvents::SetFieldBitmap(ICredentialProviderCredential*, DWORD field, HBITMAP)
{
    return Keep({"SetFieldBitmap", field, 0, {}, 0});
}

STDMETHODIMP CredentialEvents::SetFieldComboBoxSelectedItem(ICredentialProviderCredential*,
                                                            DWORD field, DWORD item)
{
    return Keep({"SetFieldComboBoxSelectedItem", field, item, {}, 0});
}

STDMETHODIMP CredentialEvents::DeleteFieldComboBoxItem(ICredentialProviderCredential*, DWORD field,
                                                       DWORD item)
{
    return Keep({"DeleteFieldComboBoxItem", field, item, {}, 0});
}

STDMETHODIMP CredentialEvents::AppendFieldComboBoxItem(ICredentialProviderCredential*, DWORD field,
                                                       LPCWSTR text)
{
    return Keep({"AppendFieldComboBoxItem", field, 0, TextOf(text), 0});
}

STDMETHODIMP CredentialEvents::SetFieldSubmitButton(ICredentialProviderCredential*, DWORD field,
                                                    DWORD adjacentTo)
{
    return Keep({"SetFieldSubmitButton", field, adjacentTo, {}, 0});
}

STDMETHODIMP CredentialEvents::OnCreatingWindow(HWND* owner)
{
    *owner = nullptr;
    return Keep({"OnCreatingWindow", 0, 0, {}, 0});
}

STDMETHODIMP CredentialEvents::BeginFieldUpdates()
{
    return Keep({"BeginFieldUpdates", 0, 0, {}, 0});
}

STDMETHODIMP CredentialEvents::EndFieldUpdates()
{
    return Keep({"EndFieldUpdates", 0, 0, {}, 0});
}

STDMETHODIMP CredentialEvents::SetFieldOptions(ICredentialProviderCredential*, DWORD field,
                                               CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS options)
{
    return Keep({"SetFieldOptions", field, static_cast<DWORD>(options), {}, 0});
}

HRESULT CredentialEvents::Keep(FieldCall call)
{
    call.threadId = GetCurrentThreadId();
    if (const auto onCall = lock_.With([&] { return onCall_; })) {
        onCall(call);
    }
    const HRESULT result = lock_.With([&] {
        const auto failure = failures_.find(call.method);
        const HRESULT answer = failure != failures_.end() ? failure->second : S_OK;
        if (SUCCEEDED(answer)) {
            Show(call);
        }
        calls_.push_back(std::move(call));
        return answer;
    });
    SetEvent(changed_.Get());
    return result;
}

void CredentialEvents::Show(const FieldCall& call)
{
    if (call.method == "SetFieldString") {
        texts_[call.field] = call.text;
    } else if (call.method == "SetFieldState") {
        states_[call.field] = static_cast<int>(call.number);
    } else if (call.method == "SetFieldSubmitButton") {
        submitAdjacentTo_ = static_cast<int>(call.number);
    } else if (call.method == "AppendFieldComboBoxItem") {
        comboItems_.push_back(call.text);
    } else if (call.method == "DeleteFieldComboBoxItem" && call.number < comboItems_.size()) {
        comboItems_.erase(comboItems_.begin() + static_cast<std::ptrdiff_t>(call.number));
    } else if (call.method == "SetFieldComboBoxSelectedItem") {
        comboSelection_ = static_cast<int>(call.number);
    }
}

}  // namespace kelvor::test
