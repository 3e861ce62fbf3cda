#pragma once

#include <optional>
#include <string>
#include <vector>

#include "preview/situations.h"

namespace kelvor::simulator {

// Opens the window in the world of one situation and lets a person act there, or plays its steps
// and writes its pictures into a folder when one is given. The index of the situation that is
// wanted next; nothing when the window was closed or the play is over. Throws std::runtime_error.
//
// Once in a process: threads of the module may outlast their session.
std::optional<std::size_t> ShowSituation(const std::vector<Situation>& situations,
                                         std::size_t current, const std::wstring& pictures);

}  // namespace kelvor::simulator
