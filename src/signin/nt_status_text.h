#pragma once

#include <windows.h>

namespace kelvor {

// LSA's answer in words. Both texts are constants.
struct StatusText {
    const wchar_t* name;  // as ntstatus.h spells it, or "(unmapped)"
    const wchar_t* text;  // for the user

    bool Mapped() const noexcept;
};

// Compares the whole code; no facility or severity bits are masked.
StatusText NtStatusText(LONG status) noexcept;

}  // namespace kelvor
