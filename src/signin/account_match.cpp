#include "signin/account_match.h"

#include "ordinal_text.h"

namespace kelvor {
namespace {

AccountMatch Compare(std::wstring_view one, std::wstring_view other) noexcept
{
    return EqualIgnoringCase(one, other) ? AccountMatch::kSame : AccountMatch::kDifferent;
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
