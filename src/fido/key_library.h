#pragma once

// The functions of the security-key library KelvorFidoAdLogonFidoNative.dll. Those that answer a
// code answer 0 for success and otherwise a number of libfido2's FIDO_ERR_* list: CTAP status
// codes above zero, transport errors below it. Texts are UTF-8.

#include <cstddef>

extern "C" {

// Non-zero while a security key is plugged in.
__declspec(dllimport) int __cdecl prov_has_fido_device(void);
// Non-zero while a security key lies on an NFC reader.
__declspec(dllimport) int __cdecl prov_has_nfc_device(void);

// Has the key answer for `rpId` over the 32 bytes of `cdh`; blocks for the user's touch. The three
// arguments after `rpId` are null, null, 0; a null `pin` means none. On success `handle` is to be
// given to prov_assert_hmac_free and `count` tells the statements, one for each credential.
__declspec(dllimport) int __cdecl prov_assert_hmac_begin(const char* rpId, const void* first,
                                                         const void* second,
                                                         std::size_t secondLength,
                                                         const unsigned char* cdh, const char* pin,
                                                         void** handle, std::size_t* count);

// The flags byte of a statement's authenticator data.
__declspec(dllimport) int __cdecl prov_assert_hmac_flags(void* handle, std::size_t index,
                                                         unsigned char* flags);

// Copies one statement out. Each length is the buffer's capacity on entry and the bytes written on
// return.
__declspec(dllimport) int __cdecl prov_assert_hmac_get(
    void* handle, std::size_t index, unsigned char* credId, std::size_t* credIdLength,
    unsigned char* authData, std::size_t* authDataLength, unsigned char* signature,
    std::size_t* signatureLength, unsigned char* hmac, std::size_t* hmacLength, char* userName,
    std::size_t* userNameLength, char* displayName, std::size_t* displayNameLength);

__declspec(dllimport) void __cdecl prov_assert_hmac_free(void* handle);

// A short English text for a code; the library owns it.
__declspec(dllimport) const char* __cdecl prov_strerr(int code);
}
