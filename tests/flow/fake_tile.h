#pragma once

#include <string>
#include <utility>
#include <vector>

#include "lock.h"
#include "signin/sign_in_tile.h"

namespace kelvor::test {

struct ShownStatus {
    std::wstring text;
    CREDENTIAL_PROVIDER_STATUS_ICON icon = CPSI_NONE;
};

// A tile without a screen: keeps what the flow shows.
class FakeTile final : public SignInTile {
 public:
    std::wstring userName = L"CORP\\alice";
    bool otherUser = false;
    bool accountServed = true;
    DirectoryAnswer directory;
    std::vector<ShownStatus> shown;
    bool askedForOptionalStatus = false;

    const ShownStatus& Last() const { return shown.back(); }

    ComRef<IUnknown> KeepAlive() override { return {}; }
    SignInSlot& Slot() override { return slot_; }
    const std::wstring& UserName() const override { return userName; }
    bool IsOtherUser() const override { return otherUser; }
    bool IsAccountServed() const override { return accountServed; }
    DirectoryAnswer Directory() const override { return directory; }
    SecretText TakePin() override { return SecretText("1234"); }
    std::optional<PendingTap> TakeChosenTap() override { return std::nullopt; }
    void OfferAccounts(PendingTap /*tap*/) override {}
    void HidePicker() noexcept override {}
    void SetStatus(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon) noexcept override
    {
        shown.push_back({text, icon});
    }
    void Republish() noexcept override {}
    void TakeOptionalStatus(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE /*response*/,
                            LPWSTR* /*text*/,
                            CREDENTIAL_PROVIDER_STATUS_ICON* /*icon*/) noexcept override
    {
        askedForOptionalStatus = true;
    }
    void ClearPin() noexcept override {}
    void UpdateFieldVisibility(bool /*keyPresent*/) noexcept override {}
    void StopKeyWatch() noexcept override {}
    HANDLE StatusPendingEvent() const override { return nullptr; }

 private:
    Lock lock_;
    SignInSlot slot_{lock_};
};

}  // namespace kelvor::test
