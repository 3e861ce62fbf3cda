#pragma once

#include <cstdint>
#include <span>

namespace kelvor::admin {

// What an administrator has to know about one code.
struct Remedy {
    std::uint32_t code;
    const char* name;    // as the code's own header or standard spells it
    const char* cause;   // why it comes up in a sign-in
    const char* remedy;  // what to do, in the order in which it helps
    // Words of the module that stand beside the code in the log; null where a table of the module
    // has the text for the user.
    const wchar_t* seen = nullptr;
};

// LSA's answers, codes of ntstatus.h.
std::span<const Remedy> NtStatusRemedies();
// What the module's steps return and its log shows as hr=0x…; codes of winerror.h.
std::span<const Remedy> HresultRemedies();
// Windows' plain error codes in the log, as gle=… and "DsGetDcName failed (…)"; and what an HRESULT
// or NTSTATUS of the Win32 facility is about.
std::span<const Remedy> SystemErrorRemedies();
// What the security-key library returns, in the log as rc=…: CTAP status codes above zero,
// libfido2's own codes below it.
std::span<const Remedy> KeyCodeRemedies();

}  // namespace kelvor::admin
