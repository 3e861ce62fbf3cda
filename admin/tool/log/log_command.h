#pragma once

#include "console/command.h"

namespace kelvor::admin {

// log [--last] [--since TIME] [--file FILE] [--json | --html FILE]
int RunLog(const std::vector<std::wstring>& words, const Output& output);

inline constexpr Command kLogCommand = {
    "log", "the sign-ins in the module's log: when, who, how long each step took, how it ended",
    "Usage: KelvorFidoAdLogonAdmin log [--last] [--since TIME] [--file FILE]\n"
    "                                  [--json | --html FILE]\n"
    "\n"
    "Reads the log, its rotated part too, and shows each sign-in with the time of its steps, how it\n"
    "ended, what the tile said and what to do about it. Where the installer made the log's folder,\n"
    "only administrators may read it.\n"
    "\n"
    "  --last        the last sign-in alone\n"
    "  --since TIME  those that began at that time or later: 2026-11-21 or \"2026-11-21 16:23\"\n"
    "  --file FILE   another log, copied from another PC for example\n"
    "  --json        one array of objects, times in milliseconds\n"
    "  --html FILE   writes a page with a bar for each step, to be read in a browser\n"
    "\n"
    "Exit codes: 0 shown, 2 wrong use, 4 the log cannot be read or the page not be written.\n",
    RunLog};

}  // namespace kelvor::admin
