#pragma once

#include <string_view>

namespace kelvor {

// Whether a tile's account is the one that a security key resolved to.
enum class AccountMatch { kSame, kDifferent, kUndecidable };

// `tileName` is DOMAIN\user, `resolvedUpn` the account the card was armed for, `directoryUpn` the
// directory's UPN of the tile's account, empty when unknown. With it whole names are compared,
// without it the user-name parts; ordinal, ignoring case.
AccountMatch MatchAccounts(std::wstring_view tileName, std::wstring_view resolvedUpn,
                           std::wstring_view directoryUpn) noexcept;

}  // namespace kelvor
