#pragma once

#include <string>
#include <string_view>

namespace kelvor {

// The relying-party id that goes with a server's base URL when none is configured: its host,
// without scheme, port and path; "localhost" when that is empty.
std::wstring RelyingPartyOfUrl(std::wstring_view url);

}  // namespace kelvor
