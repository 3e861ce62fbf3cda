#pragma once

#include "console/command.h"

namespace kelvor::admin {

// explain CODE: answers 1 when the code is not known.
int RunExplain(const std::vector<std::wstring>& words, const Output& output);

inline constexpr Command kExplainCommand = {
    "explain", "what a code of the log or of the event log means, and what to do",
    "Usage: KelvorFidoAdLogonAdmin explain CODE\n"
    "\n"
    "Tells what a code means: its name, what the user saw, why it comes up and what to do.\n"
    "CODE is an NTSTATUS or a substatus of LSA, an HRESULT, an error code of Windows, or a return\n"
    "code of the security-key library; in hex as 0xC0000320, or decimal, which may be negative.\n"
    "A number that means something to several of them is explained for each.\n"
    "\n"
    "Exit codes: 0 explained, 1 not known, 2 wrong use.\n",
    RunExplain};

}  // namespace kelvor::admin
