#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>

#include "lock.h"
#include "signin/sign_in_tile.h"

namespace kelvor {

// One question to the directory, asked on a thread of its own when a tile is selected: is there a
// domain controller, and what is the UPN of the tile's account? Shared by the tile, the probe's
// thread and whoever looks; freed with its last holder.
struct DomainProbe {
    explicit DomainProbe(std::wstring name)
        : createdAtTick(GetTickCount()), tileName(std::move(name))
    {
    }

    enum class Stage { kNothing, kStillWaiting, kOutcome };

    const DWORD createdAtTick;
    const std::wstring tileName;  // DOMAIN\user; empty on the "Other user" tile
    std::atomic<Stage> reported{Stage::kNothing};
    std::atomic<bool> finished{false};  // set last; what follows may be read only then
    bool domainControllerFound = false;
    DWORD elapsedMs = 0;
    std::wstring upn;
    std::wstring reason;
};

// The probe that a tile has at the moment, guarded by the tile's lock.
class DomainProbeSlot {
 public:
    explicit DomainProbeSlot(const Lock& lock) noexcept : lock_(lock) {}

    // Asks the directory unless a probe is there already. Does not wait.
    void Start(const std::wstring& tileName);
    void Discard();
    std::shared_ptr<DomainProbe> Current() const;
    DirectoryAnswer Answer() const;

 private:
    const Lock& lock_;
    std::shared_ptr<DomainProbe> probe_;
};

}  // namespace kelvor
