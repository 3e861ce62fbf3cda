#pragma once

#include <vector>

#include "support/event_sinks.h"

namespace kelvor::test {

// What one refresh of the fields tells LogonUI, in order. The first three are field states, the
// last is the field that the button stands beside.
inline std::vector<FieldCall> Refresh(DWORD pin, DWORD finish, DWORD submit, DWORD beside)
{
    return {{"SetFieldState", 2, pin, {}, 0},
            {"SetFieldState", 6, finish, {}, 0},
            {"SetFieldState", 4, submit, {}, 0},
            {"SetFieldSubmitButton", 4, beside, {}, 0}};
}

}  // namespace kelvor::test
