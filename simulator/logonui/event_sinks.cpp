#include "logonui/event_sinks.h"

#include <string>
#include <utility>

#include "logonui/com_object.h"
#include "logonui/console_text.h"

namespace kelvor::simulator {
namespace {

std::string TextOrNull(LPCWSTR text)
{
    return text != nullptr ? Quoted(text) : "null";
}

// The provider's bitmap stays the provider's.
TileImage CopyOf(HBITMAP bitmap)
{
    UniqueBitmap copy(static_cast<HBITMAP>(CopyImage(bitmap, IMAGE_BITMAP, 0, 0, 0)));
    return copy ? std::make_shared<const UniqueBitmap>(std::move(copy)) : nullptr;
}

class TileEvents final : public ComObject<ICredentialProviderCredentialEvents2> {
 public:
    TileEvents(std::shared_ptr<TileModel> model, std::shared_ptr<CallRecord> record, SinkMood mood)
        : model_(std::move(model)), record_(std::move(record)), mood_(std::move(mood))
    {
    }

    STDMETHODIMP SetFieldState(ICredentialProviderCredential*, DWORD id,
                               CREDENTIAL_PROVIDER_FIELD_STATE state) override
    {
        return Apply("SetFieldState", id, std::to_string(state),
                     [&](TileField& field) { field.state = state; });
    }
    STDMETHODIMP SetFieldInteractiveState(
        ICredentialProviderCredential*, DWORD id,
        CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE state) override
    {
        return Apply("SetFieldInteractiveState", id, std::to_string(state),
                     [&](TileField& field) { field.interactive = state; });
    }
    STDMETHODIMP SetFieldString(ICredentialProviderCredential*, DWORD id, LPCWSTR text) override
    {
        return Carry("SetFieldString", id, TextOrNull(text),
                     [&] { return model_->SetText(id, text); });
    }
    STDMETHODIMP SetFieldCheckbox(ICredentialProviderCredential*, DWORD id, BOOL checked,
                                  LPCWSTR label) override
    {
        return Carry("SetFieldCheckbox", id, std::to_string(checked) + ", " + TextOrNull(label),
                     [] { return false; });  // no tile of this screen has a check box
    }
    STDMETHODIMP SetFieldBitmap(ICredentialProviderCredential*, DWORD id, HBITMAP bitmap) override
    {
        return Apply("SetFieldBitmap", id, bitmap != nullptr ? "a bitmap" : "null",
                     [image = CopyOf(bitmap)](TileField& field) { field.image = image; });
    }
    STDMETHODIMP SetFieldComboBoxSelectedItem(ICredentialProviderCredential*, DWORD id,
                                              DWORD item) override
    {
        return Apply("SetFieldComboBoxSelectedItem", id, std::to_string(item),
                     [&](TileField& field) { field.selectedRow = item; });
    }
    STDMETHODIMP DeleteFieldComboBoxItem(ICredentialProviderCredential*, DWORD id,
                                         DWORD item) override
    {
        return Carry("DeleteFieldComboBoxItem", id, std::to_string(item), [&] {
            bool known = false;
            model_->ChangeField(id, [&](TileField& field) {
                known = item < field.rows.size();
                if (known) {
                    field.rows.erase(field.rows.begin() + static_cast<std::ptrdiff_t>(item));
                }
            });
            return known;
        });
    }
    STDMETHODIMP AppendFieldComboBoxItem(ICredentialProviderCredential*, DWORD id,
                                         LPCWSTR item) override
    {
        return Apply("AppendFieldComboBoxItem", id, TextOrNull(item), [&](TileField& field) {
            field.rows.emplace_back(item != nullptr ? item : L"");
        });
    }
    STDMETHODIMP SetFieldSubmitButton(ICredentialProviderCredential*, DWORD id,
                                      DWORD adjacentTo) override
    {
        return Apply("SetFieldSubmitButton", id, std::to_string(adjacentTo),
                     [&](TileField& field) { field.adjacentTo = adjacentTo; });
    }
    STDMETHODIMP OnCreatingWindow(HWND* owner) override
    {
        record_->Add("OnCreatingWindow()");
        *owner = nullptr;  // the screen is text: there is no window to own another
        return S_OK;
    }
    STDMETHODIMP BeginFieldUpdates() override
    {
        record_->Add("BeginFieldUpdates()");
        return S_OK;
    }
    STDMETHODIMP EndFieldUpdates() override
    {
        record_->Add("EndFieldUpdates()");
        return S_OK;
    }
    STDMETHODIMP SetFieldOptions(ICredentialProviderCredential*, DWORD id,
                                 CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS options) override
    {
        return Apply("SetFieldOptions", id, std::to_string(options), [](TileField&) {});
    }

 private:
    bool Serves(REFIID iid) const noexcept override
    {
        return IsEqualIID(iid, IID_ICredentialProviderCredentialEvents) ||
               IsEqualIID(iid, IID_ICredentialProviderCredentialEvents2);
    }
    // Records the call and carries it out, if the sink is in the mood; `act` answers false for
    // arguments that no field takes.
    template <class Act>
    HRESULT Carry(const char* call, DWORD id, const std::string& value, Act&& act)
    {
        record_->Add(std::string(call) + "(" + std::to_string(id) + ", " + value + ")");
        const HRESULT hr = mood_();
        if (FAILED(hr)) {
            return hr;
        }
        return act() ? S_OK : E_INVALIDARG;
    }
    template <class Change>
    HRESULT Apply(const char* call, DWORD id, const std::string& value, Change&& change)
    {
        return Carry(call, id, value, [&] { return model_->ChangeField(id, change); });
    }

    const std::shared_ptr<TileModel> model_;
    const std::shared_ptr<CallRecord> record_;
    const SinkMood mood_;
};

class ProviderEvents final : public ComObject<ICredentialProviderEvents> {
 public:
    ProviderEvents(std::function<void(UINT_PTR)> changed, std::shared_ptr<CallRecord> record)
        : changed_(std::move(changed)), record_(std::move(record))
    {
    }

    STDMETHODIMP CredentialsChanged(UINT_PTR context) override
    {
        record_->Add("CredentialsChanged(" + std::to_string(context) + ")");
        changed_(context);
        return S_OK;
    }

 private:
    bool Serves(REFIID iid) const noexcept override
    {
        return IsEqualIID(iid, IID_ICredentialProviderEvents);
    }

    const std::function<void(UINT_PTR)> changed_;
    const std::shared_ptr<CallRecord> record_;
};

}  // namespace

ComRef<ICredentialProviderCredentialEvents> MakeTileEvents(std::shared_ptr<TileModel> model,
                                                           std::shared_ptr<CallRecord> record,
                                                           SinkMood mood)
{
    return ComRef<ICredentialProviderCredentialEvents>::Adopt(
        new TileEvents(std::move(model), std::move(record), std::move(mood)));
}

ComRef<ICredentialProviderEvents> MakeProviderEvents(std::function<void(UINT_PTR)> changed,
                                                     std::shared_ptr<CallRecord> record)
{
    return ComRef<ICredentialProviderEvents>::Adopt(
        new ProviderEvents(std::move(changed), std::move(record)));
}

}  // namespace kelvor::simulator
