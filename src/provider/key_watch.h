#pragma once

#include <windows.h>

#include <memory>

#include "com_ref.h"
#include "handle.h"
#include "lock.h"
#include "provider/domain_probe.h"
#include "provider/status_line.h"
#include "provider/tile_fields.h"
#include "signin/sign_in_slot.h"

namespace kelvor {

// A tile as its watch holds it. These references are counted apart from those of others: the watch
// of a tile that nobody else holds has nobody left to watch for.
class WatchedTile {
 public:
    virtual void AddRef() noexcept = 0;
    virtual void Release() noexcept = 0;

 protected:
    ~WatchedTile() = default;
};

// Polls twice a second whether a security key is there while its tile is selected, and switches the
// prompt when one arrives or leaves. One thread at most; its handles are guarded by the tile's
// lock.
class KeyWatch {
 public:
    KeyWatch(const Lock& lock, const SignInSlot& slot, TileFields& fields, StatusLine& status,
             const DomainProbeSlot& probes) noexcept
        : lock_(lock), slot_(slot), fields_(fields), status_(status), probes_(probes)
    {
    }
    ~KeyWatch() { Stop(); }
    KeyWatch(const KeyWatch&) = delete;
    KeyWatch& operator=(const KeyWatch&) = delete;

    // The thread holds the tile until it ends. Silent when no thread is to be had.
    void Start(ComRef<WatchedTile> tile);
    // Returns when the thread has ended: one poll at most.
    void Stop() noexcept;
    // True until somebody stops it.
    bool Runs() const;

 private:
    struct StopSignal;
    struct Running {
        UniqueKernelObject thread;
        // Shared with the thread, which waits for it until its own end.
        std::shared_ptr<StopSignal> stop;
    };

    void Watch(StopSignal& stop) const;
    void OnPresenceChanged(bool present) const;

    const Lock& lock_;
    const SignInSlot& slot_;
    TileFields& fields_;
    StatusLine& status_;
    const DomainProbeSlot& probes_;
    Running running_;
};

}  // namespace kelvor
