#pragma once

#include "lock.h"
#include "provider/status_line.h"
#include "provider/tile_fields.h"
#include "provider/tile_screen.h"
#include "signin/sign_in_slot.h"

namespace kelvor::test {

// The parts of a tile that LogonUI has not advised.
struct ScreenlessTile {
    Lock lock;
    SignInSlot slot{lock};
    TileScreen screen{lock, slot, nullptr};
    TileFields fields{lock, screen, slot};
    StatusLine status{lock, screen, fields};
};

}  // namespace kelvor::test
