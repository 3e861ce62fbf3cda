#pragma once

#include <string>

namespace kelvor {

// Whom a logon buffer names. For a UPN the domain is its DNS suffix, else it is what the tile says.
struct LogonAccount {
    std::wstring domain;
    std::wstring user;
};

// Chooses the account: the UPN of the card's certificate, else the one that the key resolved to,
// else the tile's names. The user is empty when nobody is named.
LogonAccount ChooseLogonAccount(const LogonAccount& tile, const std::wstring& certificateUpn,
                                const std::wstring& resolvedUpn);

}  // namespace kelvor
