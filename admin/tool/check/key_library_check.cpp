#include <windows.h>

#include "cardsvc/utf_text.h"
#include "check/checks.h"
#include "check/key_library.h"
#include "explain/meaning.h"

namespace kelvor::admin {
namespace {

std::string MissingExports(HMODULE library)
{
    std::string missing;
    for (const char* const name : KeyLibraryExports()) {
        if (GetProcAddress(library, name) == nullptr) {
            missing += (missing.empty() ? "" : ", ") + std::string(name);
        }
    }
    return missing;
}

bool Has(HMODULE library, const char* question)
{
    const auto ask = reinterpret_cast<int(__cdecl*)()>(
        reinterpret_cast<void*>(GetProcAddress(library, question)));
    return ask() != 0;
}

std::string KeysSeen(HMODULE library)
{
    if (Has(library, "prov_has_fido_device")) {
        return "a security key is plugged in";
    }
    return Has(library, "prov_has_nfc_device") ? "a security key lies on an NFC reader"
                                               : "no security key is plugged in now";
}

}  // namespace

Findings CheckKeyLibrary(Circumstances& /*circumstances*/)
{
    Finding finding{.check = "key library"};
    const std::string name = Utf16ToUtf8(kKeyLibraryFile);
    const HMODULE library = KeyLibrary();
    if (library == nullptr) {
        const DWORD error = GetLastError();
        finding.verdict = Verdict::kFail;
        finding.seen = name + " cannot be loaded from the system folder (Windows error " +
                       std::to_string(error) + ")";
        finding.remedy =
            "Install the security-key library, a product of its own, with all that it needs: "
            "without it Windows cannot load the module, and no tile appears.";
        return {finding};
    }
    const std::string missing = MissingExports(library);
    if (!missing.empty()) {
        finding.verdict = Verdict::kFail;
        finding.seen = name + " lacks " + missing;
        finding.remedy =
            "Install the version of the security-key library that belongs to this module: Windows "
            "cannot load the module with this one, and no tile appears.";
        return {finding};
    }
    finding.seen = name + " has what the module calls; " + KeysSeen(library);
    return {finding};
}

}  // namespace kelvor::admin
