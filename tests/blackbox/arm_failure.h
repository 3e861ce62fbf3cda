#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "support/stage.h"

namespace kelvor::test {

// UTF-8 as wide text.
inline std::wstring Wide(std::string_view utf8)
{
    if (utf8.empty()) {
        return {};
    }
    const int bytes = static_cast<int>(utf8.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0)),
        L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

// Whether the sign-in of a user's own tile ended at arming the card: the log has the result (as in
// "0x80004005") and the reason, and the tile shows the reason. The reason is UTF-8.
inline bool ArmFailed(Stage& stage, const std::string& result, const std::string& reason)
{
    return stage.log.Has("ERROR",
                         "sclogon: FIDO arm gate failed hr=" + result + " (" + reason + ")") &&
           stage.Status() == Wide("Sign-in failed: " + reason);
}

}  // namespace kelvor::test
