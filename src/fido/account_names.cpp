#include "fido/account_names.h"

#include "ordinal_text.h"

namespace kelvor {
namespace {

bool IsTileAccount(std::wstring_view account, std::wstring_view tileUser)
{
    if (EqualIgnoringCase(account, tileUser)) {
        return true;
    }
    const std::wstring_view shortAccount = ShortAccountName(account);
    return !shortAccount.empty() && EqualIgnoringCase(shortAccount, ShortAccountName(tileUser));
}

}  // namespace

TileMatch MatchTileAccount(const std::vector<KeyStatement>& statements, std::wstring_view tileUser,
                           std::size_t& index)
{
    if (tileUser.empty()) {
        return TileMatch::kCannotTell;
    }
    std::size_t matches = 0;
    std::size_t lastMatch = 0;
    bool unnamedSeen = false;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        const std::wstring& account = statements[i].accountName;
        if (account.empty()) {
            unnamedSeen = true;  // it might be the tile's
        } else if (IsTileAccount(account, tileUser)) {
            ++matches;
            lastMatch = i;
        }
    }
    if (matches == 1) {
        index = lastMatch;
        return TileMatch::kOne;
    }
    return matches == 0 && !unnamedSeen ? TileMatch::kNone : TileMatch::kCannotTell;
}

std::wstring_view ShortAccountName(std::wstring_view name)
{
    const std::size_t backslash = name.rfind(L'\\');
    if (backslash != std::wstring_view::npos) {
        name.remove_prefix(backslash + 1);
    }
    return name.substr(0, name.find(L'@'));
}

}  // namespace kelvor
