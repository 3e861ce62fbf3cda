#pragma once

#include "signin/serialization.h"

namespace kelvor {

// Signs in on a second thread while the calling thread, LogonUI's, pumps messages and republishes
// the status line; inline when that thread cannot be started. A call that comes in through the pump
// meanwhile is ignored. Returns the flow's result with `outputs` filled.
HRESULT SignInBlocking(SignInTile& tile, const SerializationOutputs& outputs);

}  // namespace kelvor
