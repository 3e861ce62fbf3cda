#include "check/key_library.h"

#include "fido/key_library.h"

namespace kelvor::admin {
namespace {

constexpr const char* kExports[] = {
    "prov_assert_hmac_begin",
    "prov_assert_hmac_flags",
    "prov_assert_hmac_free",
    "prov_assert_hmac_get",
    "prov_has_fido_device",
    "prov_has_nfc_device",
    "prov_strerr",
};

// The library's text for a code, none without the library.
const char* __cdecl TextOfLibrary(int code)
{
    const HMODULE library = KeyLibrary();
    if (library == nullptr) {
        return nullptr;
    }
    // FARPROC stands for a function of any type.
    const auto text = reinterpret_cast<decltype(&prov_strerr)>(
        reinterpret_cast<void*>(GetProcAddress(library, "prov_strerr")));
    return text != nullptr ? text(code) : nullptr;
}

}  // namespace

std::span<const char* const> KeyLibraryExports() noexcept
{
    return kExports;
}

HMODULE KeyLibrary() noexcept
{
    static HMODULE library = nullptr;
    if (library == nullptr) {
        library = LoadLibraryExW(kKeyLibraryFile, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
    return library;
}

// The module binds the library when it is loaded; the tool has to start without it. This is where
// the module's code looks the function up: what an import library would define.
extern "C" {
// NOLINTNEXTLINE(readability-identifier-naming): the linker's own spelling.
decltype(&prov_strerr) __imp_prov_strerr = &TextOfLibrary;
}

}  // namespace kelvor::admin
