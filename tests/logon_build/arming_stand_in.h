#pragma once

#include <windows.h>

#include <string>

#include "fido/arming.h"

namespace kelvor::test {

// What the arming of the card answers, in place of the product's own, and how it was asked.
struct ArmingStandIn {
    HRESULT result = S_OK;
    std::wstring reason;
    ArmOutcome outcome;
    bool callsProgress = false;

    int taps = 0;         // calls of FidoPinArm
    int completions = 0;  // calls of FidoPinComplete
    std::wstring tileUser;
    std::size_t index = 0;
};
ArmingStandIn& Arming();

}  // namespace kelvor::test
