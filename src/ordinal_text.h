#pragma once

#include <windows.h>

#include <string_view>

namespace kelvor {

// Names of accounts are compared unit by unit, ignoring case by the operating system's own table
// and by no language's rules.
inline bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept
{
    return left.size() == right.size() &&
           CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace kelvor
