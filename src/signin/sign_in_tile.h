#pragma once

#include "credential_provider.h"

#include <optional>
#include <string>

#include "com_ref.h"
#include "fido/pending_tap.h"
#include "secret.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

// What the directory has told a tile about its account so far.
struct DirectoryAnswer {
    bool known = false;  // the rest is meaningful
    bool domainControllerFound = false;
    DWORD ageMs = 0;  // since the tile asked
    std::wstring reason;
    std::wstring upn;  // empty when the tile's name could not be mapped
};

// A tile as its sign-in sees it. Every member may be called on the sign-in's thread; whatever
// reaches the screen obeys the tile's publishing rule.
class SignInTile {
 public:
    // Keeps the tile alive for a thread.
    virtual ComRef<IUnknown> KeepAlive() = 0;
    virtual SignInSlot& Slot() = 0;

    // DOMAIN\user, empty on the "Other user" tile. Fixed for the tile's life.
    virtual const std::wstring& UserName() const = 0;
    virtual bool IsOtherUser() const = 0;
    virtual bool IsAccountServed() const = 0;
    virtual DirectoryAnswer Directory() const = 0;

    // Moves the typed PIN out of the tile, as UTF-8.
    virtual SecretText TakePin() = 0;
    // Moves the tap that the account picker shows out of the tile, its chosen index set to the
    // selected row; nothing when no tap waits. The rows stay up.
    virtual std::optional<PendingTap> TakeChosenTap() = 0;
    // Keeps a tap with several accounts on the tile and asks the user for one of them.
    virtual void OfferAccounts(PendingTap tap) = 0;
    virtual void HidePicker() noexcept = 0;

    // What only shows something on the screen never fails its caller.
    virtual void SetStatus(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon) noexcept = 0;
    // Publishes the status line and the picker again, on LogonUI's thread.
    virtual void Republish() noexcept = 0;
    // Fills LogonUI's optional status outputs where they are wanted.
    virtual void TakeOptionalStatus(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response,
                                    LPWSTR* text,
                                    CREDENTIAL_PROVIDER_STATUS_ICON* icon) noexcept = 0;
    virtual void ClearPin() noexcept = 0;
    virtual void UpdateFieldVisibility(bool keyPresent) noexcept = 0;
    // Returns after the watch thread has ended.
    virtual void StopKeyWatch() noexcept = 0;
    // Signalled when LogonUI's thread has something to republish; null when it was not to be had.
    virtual HANDLE StatusPendingEvent() const = 0;

 protected:
    ~SignInTile() = default;
};

}  // namespace kelvor
