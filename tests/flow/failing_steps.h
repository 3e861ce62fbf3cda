#pragma once

#include <windows.h>

namespace kelvor::test {

// What the steps of a sign-in that stand in for the real ones answer. None of them gives a reason.
struct FailingSteps {
    HRESULT tap = E_FAIL;
    HRESULT build = E_FAIL;
    HRESULT provision = E_FAIL;
    bool buildRunsOutOfMemory = false;
};

FailingSteps& Steps() noexcept;

}  // namespace kelvor::test
