#pragma once

#include "credential_provider.h"

#include <atomic>

#include "com_ref.h"
#include "handle.h"
#include "lock.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

using CredentialEvents = ICredentialProviderCredentialEvents2;

// One tile's line to LogonUI: the events object, the thread that LogonUI calls on, and the rule by
// which a background thread's change reaches the screen. The events object is guarded by the tile's
// lock and called outside it, on a reference of the caller's own.
class TileScreen {
 public:
    TileScreen(const Lock& lock, const SignInSlot& slot, ICredentialProviderCredential* tile);
    // LogonUI's events object is let go by UnAdvise alone: a tile may die on another thread.
    ~TileScreen();
    TileScreen(const TileScreen&) = delete;
    TileScreen& operator=(const TileScreen&) = delete;

    // Marks the calling thread as LogonUI's.
    HRESULT Advise(ICredentialProviderCredentialEvents* events);
    void UnAdvise();

    // Empty when LogonUI has not advised the tile.
    ComRef<CredentialEvents> Events() const;
    // The tile as LogonUI knows it, the first argument of every call on the events object.
    ICredentialProviderCredential* Tile() const noexcept { return tile_; }

    // True when the caller's change is left to LogonUI's thread, which waits inside a blocking
    // sign-in and was woken to republish; false when the caller pushes its change itself.
    bool DeferToLogonUi() const noexcept;
    HANDLE StatusPendingEvent() const noexcept { return statusPending_.Get(); }

 private:
    const Lock& lock_;
    const SignInSlot& slot_;
    ICredentialProviderCredential* tile_;
    ComRef<CredentialEvents> events_;
    std::atomic<DWORD> logonUiThread_{0};
    UniqueKernelObject statusPending_;  // auto-reset
};

}  // namespace kelvor
