#include "provider/account_classification.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <optional>

#include "lock.h"

namespace kelvor {
namespace {

constexpr const wchar_t* kNotDomains[] = {L"MicrosoftAccount", L"AzureAD", L".", L"BUILTIN",
                                          L"NT AUTHORITY"};

std::wstring QueryPcName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD capacityChars = static_cast<DWORD>(std::size(name));
    return GetComputerNameExW(ComputerNameNetBIOS, name, &capacityChars) ? name : L"";
}

// Not inside the function: the runtime guards the statics of functions with a semaphore that it
// does not close when the module is unloaded.
const Lock kPcNameLock;
std::optional<std::wstring> pcName;  // set once, then never again

}  // namespace

const std::wstring& ThisPcName()
{
    return kPcNameLock.With([]() -> const std::wstring& {
        if (!pcName) {
            pcName = QueryPcName();
        }
        return *pcName;
    });
}

std::wstring_view DomainOf(std::wstring_view qualifiedName)
{
    const std::size_t backslash = qualifiedName.find(L'\\');
    return backslash == std::wstring_view::npos ? std::wstring_view()
                                                : qualifiedName.substr(0, backslash);
}

bool IsAdDomainUser(std::wstring_view qualifiedName)
{
    if (qualifiedName.find(L'\\') == std::wstring_view::npos) {
        return false;
    }
    const std::wstring domain(DomainOf(qualifiedName));
    const auto isDomain = [&](const wchar_t* name) { return _wcsicmp(domain.c_str(), name) == 0; };
    if (std::ranges::any_of(kNotDomains, isDomain)) {
        return false;
    }
    return ThisPcName().empty() || !isDomain(ThisPcName().c_str());
}

}  // namespace kelvor
