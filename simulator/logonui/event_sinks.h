#pragma once

#include <functional>
#include <memory>

#include "com_ref.h"
#include "credential_provider.h"
#include "logonui/call_record.h"
#include "logonui/tile_model.h"

namespace kelvor::simulator {

// How a sink takes a call: runs before it is carried out; a failure is answered in its place.
using SinkMood = std::function<HRESULT()>;

// The sink that a tile is advised of. Each call is recorded with its thread and applied to
// `model`, on whatever thread it comes.
ComRef<ICredentialProviderCredentialEvents> MakeTileEvents(std::shared_ptr<TileModel> model,
                                                           std::shared_ptr<CallRecord> record,
                                                           SinkMood mood);

// The sink that the provider is advised of. `changed` gets the advise context, on the thread that
// called CredentialsChanged.
ComRef<ICredentialProviderEvents> MakeProviderEvents(std::function<void(UINT_PTR)> changed,
                                                     std::shared_ptr<CallRecord> record);

}  // namespace kelvor::simulator
