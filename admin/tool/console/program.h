#pragma once

#include <span>
#include <string>
#include <vector>

#include "console/command.h"
#include "console/output.h"

namespace kelvor::admin {

// Runs the command that the first word names, or shows help or the version. Wrong use is told on
// `error`. Answers the process's exit code; nothing is thrown.
int RunProgram(const std::vector<std::wstring>& words, std::span<const Command> commands,
               const Output& output, const Output& error) noexcept;

}  // namespace kelvor::admin
