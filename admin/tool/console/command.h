#pragma once

#include <string>
#include <vector>

#include "console/output.h"

namespace kelvor::admin {

// How the program ends, as far as commands agree about it. A command's help tells its own codes.
inline constexpr int kExitDone = 0;
inline constexpr int kExitWrongUse = 2;
inline constexpr int kExitToolFailed = 4;

// One thing that the tool can do. `run` gets the words behind the command's name and answers the
// exit code; it throws WrongUse (console/arguments.h) for words that it does not understand.
struct Command {
    const char* name;
    const char* summary;  // one line
    const char* help;     // how it is called and what its exit codes mean; ends with a line feed
    int (*run)(const std::vector<std::wstring>& words, const Output& output);
};

}  // namespace kelvor::admin
