#pragma once

#include "credential_provider.h"

#include "lock.h"
#include "provider/tile_fields.h"
#include "provider/tile_screen.h"

namespace kelvor {

// The one place where a tile shows text to the user. Any thread may set it; what reaches LogonUI
// obeys the screen's rule. Text and icon are guarded by the tile's lock.
class StatusLine {
 public:
    StatusLine(const Lock& lock, const TileScreen& screen, TileFields& fields) noexcept
        : lock_(lock), screen_(screen), fields_(fields)
    {
    }

    void Set(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon);
    // Pushes the current text to LogonUI from the calling thread.
    void Publish() const { PublishOr(L""); }
    // Gives LogonUI the current text with a response that carries no credential. Withheld while the
    // picker is up: its prompt stays on the tile.
    void TakeOptional(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response, LPWSTR* text,
                      CREDENTIAL_PROVIDER_STATUS_ICON* icon) const;

    bool HoldsError() const { return Icon() == CPSI_ERROR; }
    bool Empty() const;

 private:
    // Shows `text` where there was no memory to keep the current one or to copy it.
    void PublishOr(const wchar_t* text) const;
    CREDENTIAL_PROVIDER_STATUS_ICON Icon() const;
    TaskString Text() const;

    const Lock& lock_;
    const TileScreen& screen_;
    TileFields& fields_;
    CREDENTIAL_PROVIDER_STATUS_ICON icon_ = CPSI_NONE;
};

}  // namespace kelvor
