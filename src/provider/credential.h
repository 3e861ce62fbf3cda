#pragma once

#include "credential_provider.h"

#include <atomic>
#include <optional>
#include <string>

#include "lock.h"
#include "module_lifetime.h"
#include "provider/account_picker.h"
#include "provider/domain_probe.h"
#include "provider/key_watch.h"
#include "provider/status_line.h"
#include "provider/tile_fields.h"
#include "provider/tile_screen.h"
#include "signin/sign_in_slot.h"
#include "signin/sign_in_tile.h"

namespace kelvor {

// One tile on the sign-in screen: the COM face of its parts, all of which live under its one lock.
// LogonUI calls it on one thread; its sign-in and its key watch come through SignInTile and their
// own references. Created with one reference, destroyed by the last Release.
class CCredential final : public ICredentialProviderCredential2,
                          public ICredentialProviderCredentialWithFieldOptions,
                          private SignInTile {
 public:
    explicit CCredential(bool otherUser);
    CCredential(const CCredential&) = delete;
    CCredential& operator=(const CCredential&) = delete;

    // Gives the fields their first values. For the provider, before LogonUI sees the tile.
    HRESULT Initialize() { return fields_.Initialize(); }
    HRESULT SetLargeText(const wchar_t* text) { return fields_.SetString(SFI_LARGE_TEXT, text); }
    void SetUserName(const wchar_t* qualifiedName) { userName_ = qualifiedName; }
    void SetSid(const wchar_t* sid) { sid_ = sid; }
    void SetProviderSink(ICredentialProviderEvents* events, UINT_PTR context)
    {
        slot_.SetProviderSink(events, context);
    }
    const std::wstring& UserName() const override { return userName_; }
    bool AwaitsCollection() const { return slot_.Phase() == SignInPhase::kCompleted; }

    IFACEMETHODIMP QueryInterface(REFIID riid, void** object) override;
    // The count is changed under the tile's lock: its threads drop their references elsewhere.
    IFACEMETHODIMP_(ULONG) AddRef() override;
    IFACEMETHODIMP_(ULONG) Release() override;

    IFACEMETHODIMP Advise(ICredentialProviderCredentialEvents* events) override;
    IFACEMETHODIMP UnAdvise() override;
    IFACEMETHODIMP SetSelected(BOOL* autoLogon) override;
    IFACEMETHODIMP SetDeselected() override;
    IFACEMETHODIMP GetFieldState(
        DWORD field, CREDENTIAL_PROVIDER_FIELD_STATE* state,
        CREDENTIAL_PROVIDER_FIELD_INTERACTIVE_STATE* interactiveState) override;
    IFACEMETHODIMP GetStringValue(DWORD field, LPWSTR* value) override;
    IFACEMETHODIMP GetBitmapValue(DWORD field, HBITMAP* bitmap) override;
    IFACEMETHODIMP GetCheckboxValue(DWORD field, BOOL* checked, LPWSTR* label) override;
    IFACEMETHODIMP GetSubmitButtonValue(DWORD field, DWORD* adjacentTo) override;
    IFACEMETHODIMP GetComboBoxValueCount(DWORD field, DWORD* count, DWORD* selected) override;
    IFACEMETHODIMP GetComboBoxValueAt(DWORD field, DWORD item, LPWSTR* text) override;
    IFACEMETHODIMP SetStringValue(DWORD field, LPCWSTR text) override;
    IFACEMETHODIMP SetCheckboxValue(DWORD field, BOOL checked) override;
    IFACEMETHODIMP SetComboBoxSelectedValue(DWORD field, DWORD item) override;
    IFACEMETHODIMP CommandLinkClicked(DWORD field) override;
    IFACEMETHODIMP GetSerialization(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE* response,
                                    CREDENTIAL_PROVIDER_CREDENTIAL_SERIALIZATION* serialization,
                                    LPWSTR* statusText,
                                    CREDENTIAL_PROVIDER_STATUS_ICON* statusIcon) override;
    IFACEMETHODIMP ReportResult(NTSTATUS status, NTSTATUS substatus, LPWSTR* statusText,
                                CREDENTIAL_PROVIDER_STATUS_ICON* statusIcon) override;
    IFACEMETHODIMP GetUserSid(LPWSTR* sid) override;

    IFACEMETHODIMP GetFieldOptions(DWORD field,
                                   CREDENTIAL_PROVIDER_CREDENTIAL_FIELD_OPTIONS* options) override;

 private:
    virtual ~CCredential() = default;

    // SignInTile
    ComRef<IUnknown> KeepAlive() override;
    SignInSlot& Slot() override { return slot_; }
    bool IsOtherUser() const override { return otherUser_; }
    bool IsAccountServed() const override;
    DirectoryAnswer Directory() const override { return probes_.Answer(); }
    SecretText TakePin() override { return fields_.TakePin(); }
    std::optional<PendingTap> TakeChosenTap() override;
    void OfferAccounts(PendingTap tap) override;
    void HidePicker() noexcept override;
    void SetStatus(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon) noexcept override;
    void Republish() noexcept override;
    void TakeOptionalStatus(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response, LPWSTR* text,
                            CREDENTIAL_PROVIDER_STATUS_ICON* icon) noexcept override;
    void ClearPin() noexcept override;
    void UpdateFieldVisibility(bool keyPresent) noexcept override;
    void StopKeyWatch() noexcept override { watch_.Stop(); }
    HANDLE StatusPendingEvent() const override { return screen_.StatusPendingEvent(); }

    // The tile in the hands of its watch.
    class WatchSide final : public WatchedTile {
     public:
        explicit WatchSide(CCredential& tile) noexcept : tile_(tile) {}
        void AddRef() noexcept override;
        void Release() noexcept override;

     private:
        CCredential& tile_;
    };
    // Gives up one reference and returns how many are left; nothing, and the reference kept, when
    // only a running watch would be left with the tile.
    std::optional<ULONG> DropReference();

    // True while a sign-in runs, or its credential waits to be collected: nobody else touches the
    // tile then.
    bool BelongsToSignIn() const;
    void ShowPrompt(bool keyPresent);
    // True when a tap was waiting for the user's choice.
    bool ScrubTap();

    ModuleObject counted_;
    ULONG references_ = 1;       // under the lock, like the next: everybody's but the watch's
    ULONG watchReferences_ = 0;  // more than one while a watch that was stopped still ends
    const bool otherUser_;
    std::wstring userName_;  // fixed before LogonUI sees the tile, like the SID
    std::wstring sid_;
    std::atomic<bool> statusLayoutLogged_{false};
    std::atomic<bool> statusReadLogged_{false};

    Lock lock_;
    PendingTap tap_;  // under the lock: the tap whose accounts the picker shows
    SignInSlot slot_;
    TileScreen screen_;
    TileFields fields_;
    StatusLine status_;
    AccountPicker picker_;
    DomainProbeSlot probes_;
    WatchSide watchSide_{*this};
    KeyWatch watch_;  // last, so that its thread ends before what it looks at
};

}  // namespace kelvor
