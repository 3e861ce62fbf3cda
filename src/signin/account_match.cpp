#include "signin/account_match.h"

#include <windows.h>

namespace kelvor {
namespace {

AccountMatch Compare(std::wstring_view one, std::wstring_view other) noexcept
{
    const bool same = one.size() == other.size() &&
                      CompareStringOrdinal(one.data(), static_cast<int>(one.size()), other.data(),
                                           static_cast<int>(other.size()), TRUE) == CSTR_EQUAL;
    return same ? AccountMatch::kSame : AccountMatch::kDifferent;
}

}  // namespace

AccountMatch MatchAccounts(std::wstring_view tileName, std::wstring_view resolvedUpn,
                           std::wstring_view directoryUpn) noexcept
{
    if (tileName.empty() || resolvedUpn.empty()) {
        return AccountMatch::kUndecidable;
    }
    if (!directoryUpn.empty()) {
        return Compare(directoryUpn, resolvedUpn);
    }
    // Without a backslash the position is npos, and npos + 1 is the start of the name.
    const std::wstring_view tileLeaf = tileName.substr(tileName.rfind(L'\\') + 1);
    const std::wstring_view resolvedLeaf = resolvedUpn.substr(0, resolvedUpn.find(L'@'));
    if (tileLeaf.empty() || resolvedLeaf.empty()) {
        return AccountMatch::kUndecidable;
    }
    return Compare(tileLeaf, resolvedLeaf);
}

}  // namespace kelvor
