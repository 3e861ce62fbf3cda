#pragma once

#include "logonui/session.h"
#include "logonui/transcript.h"

namespace kelvor::simulator {

// Lets a person sit at the screen: reads commands from the standard input and carries them out
// until "quit", the end of the input, or an accepted logon.
void RunPrompt(Session& session, Transcript& transcript);

}  // namespace kelvor::simulator
