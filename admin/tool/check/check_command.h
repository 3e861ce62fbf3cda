#pragma once

#include "check/checks.h"
#include "console/command.h"

namespace kelvor::admin {

int RunCheck(const std::vector<std::wstring>& words, const Output& output);

// check, with these checks instead of all.
int RunCheckWith(std::span<const Check> checks, const std::vector<std::wstring>& words,
                 const Output& output);

inline constexpr Command kCheckCommand = {
    "check", "goes through everything that a sign-in on this PC needs",
    "Usage: KelvorFidoAdLogonAdmin check [--user DOMAIN\\name] [--json] [--verbose]\n"
    "\n"
    "Goes through everything that a sign-in with a security key needs, in its order: the module and\n"
    "the security-key library, the settings, the card service, reader, card and certificate,\n"
    "Kerberos, domain controller and account. One line each, OK, WARN, FAIL or SKIP (could not be\n"
    "looked at), and below it what to do. Nothing is changed, no card is armed and the key is not\n"
    "asked for anything. It takes up to half a minute when a service or the domain does not answer.\n"
    "\n"
    "  --user DOMAIN\\name  the account that is to sign in; otherwise the one that runs the tool\n"
    "  --json              one JSON object instead, for programs\n"
    "  --verbose           also what the module would write into its log meanwhile\n"
    "\n"
    "Run it as an administrator if the card service does not let other accounts ask.\n"
    "\n"
    "Exit codes: 0 all is well, 1 there are warnings, 3 no sign-in succeeds, 2 wrong use.\n",
    RunCheck};

}  // namespace kelvor::admin
