#pragma once

#include <string>
#include <string_view>

namespace kelvor {

// This PC's NetBIOS name, asked for once; empty when Windows would not say. Any thread.
const std::wstring& ThisPcName();

// The part of DOMAIN\user before the first backslash; empty without one.
std::wstring_view DomainOf(std::wstring_view qualifiedName);

// True when DOMAIN\user names an Active Directory account: neither local nor of an authority that
// is no domain. A name without a backslash is not one.
bool IsAdDomainUser(std::wstring_view qualifiedName);

}  // namespace kelvor
