#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "fido/pending_tap.h"

namespace kelvor {

// Whether the accounts on a key include the one that a tile names.
enum class TileMatch {
    kOne,         // exactly one statement is the tile's account
    kNone,        // none of them is
    kCannotTell,  // the tile or a statement has no name, or several statements match
};

// Compares without regard to case, by the whole name and then by the short one. `index` is set for
// TileMatch::kOne only.
[[nodiscard]] TileMatch MatchTileAccount(const std::vector<KeyStatement>& statements,
                                         std::wstring_view tileUser, std::size_t& index);

// The user's part of `DOMAIN\user` and of `user@domain`; a part of `name` itself.
[[nodiscard]] std::wstring_view ShortAccountName(std::wstring_view name);

}  // namespace kelvor
