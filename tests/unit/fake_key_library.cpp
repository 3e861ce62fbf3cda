#include "fake_key_library.h"

#include <algorithm>

#include "fido/key_library.h"

namespace kelvor::test {
namespace {

FakeKeyLibrary library;
int handleTarget = 0;

int HasDevice()
{
    return 1;
}

int Begin(const char* rpId, const void*, const void*, std::size_t, const unsigned char* cdh,
          const char* pin, void** handle, std::size_t* count)
{
    library.rpId = rpId;
    library.clientDataHash.assign(cdh, cdh + 32);
    library.pinWasNull = pin == nullptr;
    library.pin = pin != nullptr ? pin : "";
    if (library.beginCode == 0) {
        *handle = &handleTarget;
        *count = library.statements.size();
    }
    return library.beginCode;
}

int Flags(void*, std::size_t, unsigned char* flags)
{
    *flags = library.flags;
    return library.flagsCode;
}

template <class Source, class Unit>
void Give(const Source& source, Unit* buffer, std::size_t* length, std::size_t claimedTooMuch)
{
    library.capacities.push_back(*length);
    std::transform(source.begin(), source.end(), buffer,
                   [](auto unit) { return static_cast<Unit>(unit); });
    *length = source.size() + claimedTooMuch;
}

int Get(void*, std::size_t index, unsigned char* credId, std::size_t* credIdLength,
        unsigned char* authData, std::size_t* authDataLength, unsigned char* signature,
        std::size_t* signatureLength, unsigned char* hmac, std::size_t* hmacLength, char* userName,
        std::size_t* userNameLength, char* displayName, std::size_t* displayNameLength)
{
    const FakeStatement& statement = library.statements.at(index);
    library.capacities.clear();
    library.namesWereZero =
        std::all_of(userName, userName + *userNameLength, [](char c) { return c == '\0'; }) &&
        std::all_of(displayName, displayName + *displayNameLength,
                    [](char c) { return c == '\0'; });
    const std::size_t more = statement.claimedTooMuch;
    Give(statement.credentialId, credId, credIdLength, more);
    Give(statement.authenticatorData, authData, authDataLength, more);
    Give(statement.signature, signature, signatureLength, more);
    Give(statement.hmac, hmac, hmacLength, more);
    Give(statement.userName, userName, userNameLength, more);
    Give(statement.displayName, displayName, displayNameLength, more);
    return statement.code;
}

void Free(void*)
{
    ++library.frees;
}

const char* ErrorText(int)
{
    return library.errorText;
}

}  // namespace

FakeKeyLibrary& FakeKeyLibrary::Reset()
{
    library = {};
    return library;
}

// Where the product's calls look up the library's functions: what an import library would define.
extern "C" {
decltype(&prov_has_fido_device) __imp_prov_has_fido_device = &HasDevice;
decltype(&prov_has_nfc_device) __imp_prov_has_nfc_device = &HasDevice;
decltype(&prov_assert_hmac_begin) __imp_prov_assert_hmac_begin = &Begin;
decltype(&prov_assert_hmac_flags) __imp_prov_assert_hmac_flags = &Flags;
decltype(&prov_assert_hmac_get) __imp_prov_assert_hmac_get = &Get;
decltype(&prov_assert_hmac_free) __imp_prov_assert_hmac_free = &Free;
decltype(&prov_strerr) __imp_prov_strerr = &ErrorText;
}

}  // namespace kelvor::test
