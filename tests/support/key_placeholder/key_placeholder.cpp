// A security-key library that only has to be there when the module is loaded: a test replaces every
// function of it at the module's import table before the first call. A call that arrives here is a
// fault of the test.

#include <windows.h>

#include <cstddef>

#define KELVOR_EXPORT extern "C" __declspec(dllexport)

namespace {

constexpr int kNotReplaced = -100;

}  // namespace

KELVOR_EXPORT int prov_has_fido_device()
{
    return 0;
}
KELVOR_EXPORT int prov_has_nfc_device()
{
    return 0;
}
KELVOR_EXPORT int prov_assert_hmac_begin(const char*, const void*, const void*, std::size_t,
                                         const unsigned char*, const char*, void**, std::size_t*)
{
    return kNotReplaced;
}
KELVOR_EXPORT int prov_assert_hmac_flags(void*, std::size_t, unsigned char*)
{
    return kNotReplaced;
}
KELVOR_EXPORT int prov_assert_hmac_get(void*, std::size_t, unsigned char*, std::size_t*,
                                       unsigned char*, std::size_t*, unsigned char*, std::size_t*,
                                       unsigned char*, std::size_t*, char*, std::size_t*, char*,
                                       std::size_t*)
{
    return kNotReplaced;
}
KELVOR_EXPORT void prov_assert_hmac_free(void*) {}
KELVOR_EXPORT const char* prov_strerr(int)
{
    return "not replaced";
}
