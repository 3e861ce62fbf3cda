// A selected tile that only waits, and the bare loop: each in a process of its own, whose processor
// time is read from outside.
#include <cstdio>

#include "rows/clicks.h"
#include "rows/rows.h"

namespace kelvor::bench {
namespace {

template <class Side>
void StaySelected(Side& side, const Plan& plan)
{
    side.Prepare();
    std::printf("waiting\n");
    std::fflush(stdout);
    Sleep(static_cast<DWORD>(plan.samples) * 1000);
}

}  // namespace

void IdleTile(const Plan& seconds)
{
    BothSides sides;
    ModuleClick tile(sides);
    StaySelected(tile, seconds);
    tile.Tile().SetDeselected();
}

void IdleBare(const Plan& seconds)
{
    BothSides sides;
    BareClick tile(sides.Bare());
    StaySelected(tile, seconds);
    tile.Leave();
}

}  // namespace kelvor::bench
