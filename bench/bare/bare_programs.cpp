#include "bare/bare_programs.h"

#include "bare/bare_log.h"
#include "bare/bare_sign_in.h"
#include "bare/bare_tiles.h"

namespace kelvor::bench {
namespace {

constexpr BarePrograms kPrograms = {&BareLog,   &Enumerate,  &TileCount, &ReadFields,
                                    &DropTiles, &StartWatch, &SignIn};

}  // namespace
}  // namespace kelvor::bench

extern "C" __declspec(dllexport) const kelvor::bench::BarePrograms* GetBarePrograms()
{
    return &kelvor::bench::kPrograms;
}
