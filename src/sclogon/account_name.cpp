#include "sclogon/account_name.h"

namespace kelvor {

LogonAccount ChooseLogonAccount(const LogonAccount& tile, const std::wstring& certificateUpn,
                                const std::wstring& resolvedUpn)
{
    const std::wstring& source = certificateUpn.empty() ? resolvedUpn : certificateUpn;
    const std::size_t at = source.find(L'@');
    if (at != std::wstring::npos && at + 1 < source.size()) {
        return {source.substr(at + 1), source.substr(0, at)};
    }
    if (tile.user.empty()) {
        return {tile.domain, source};
    }
    return tile;
}

}  // namespace kelvor
