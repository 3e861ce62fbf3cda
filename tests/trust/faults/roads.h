#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "support/stage.h"
#include "trust/faults/logon_ui.h"

namespace kelvor::trust {

// A way through a sign-in, from loading the module to letting it go.
struct Road {
    const char* name;
    Visit visit;
    void (*setUp)(test::Stage&);  // how the surroundings differ; null: not at all
    // Whose logon may be handed over, and whether an undisturbed run does so; empty: nobody's.
    std::wstring user;
    bool accepts = true;
    // The functions that this road is there for; empty: all of them.
    std::vector<std::string> sweeps;
    bool clockRuns = false;  // somebody has to wait in vain on this road
    bool wrongPin = false;   // the user mistypes
    // What may be said on this road as well for want of the service or of memory; null: nothing.
    const wchar_t* alsoTrue = nullptr;
};

const std::vector<Road>& Roads();

}  // namespace kelvor::trust
