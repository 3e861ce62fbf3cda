#include "signin/relying_party.h"

namespace kelvor {

std::wstring RelyingPartyOfUrl(std::wstring_view url)
{
    constexpr std::wstring_view kSchemeEnd = L"://";
    if (const std::size_t scheme = url.find(kSchemeEnd); scheme != std::wstring_view::npos) {
        url.remove_prefix(scheme + kSchemeEnd.size());
    }
    const std::wstring_view host = url.substr(0, url.find_first_of(L":/"));
    return std::wstring(host.empty() ? L"localhost" : host);
}

}  // namespace kelvor
