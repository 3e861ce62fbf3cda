#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "crypto/bytes.h"
#include "fido/key_library.h"
#include "handle.h"
#include "key/key_control.h"

namespace kelvor::simulator {

struct LibraryPolicy {
    using Handle = HMODULE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle library) noexcept { FreeLibrary(library); }
};

// One credential's answer to a tap, as the library hands it out.
struct TapStatement {
    Bytes credentialId;
    Bytes authenticatorData;
    Bytes signature;
    SecretBytes hmacSecret;
};

// The security-key library, loaded into a program of the project that uses it directly.
class KeyClient {
 public:
    // `libraryPath` empty: KelvorFidoAdLogonFidoNative.dll beside the program. Throws
    // std::runtime_error when the library cannot be loaded, lacks a function, or its world or
    // state is unusable.
    KeyClient(const std::wstring& libraryPath, const std::wstring& worldPath,
              const std::wstring& stateFolder);

    // One tap; a null `pin` means none. 0 and the statements, or a code of the library.
    int Tap(const std::string& rpId, const Digest& clientDataHash, const char* pin,
            std::vector<TapStatement>& statements) const;
    std::string CodeText(int code) const;

    // Both throw std::runtime_error.
    void Reset(const char* pin) const;
    void MakeCredential(const SimKeyRequest& request, SimKeyCredential& credential) const;

 private:
    template <class Function>
    Function Resolve(const char* name) const;
    void Require(int code, const char* what) const;

    Unique<LibraryPolicy> library_;
    decltype(&prov_assert_hmac_begin) begin_;
    decltype(&prov_assert_hmac_get) get_;
    decltype(&prov_assert_hmac_free) free_;
    decltype(&prov_strerr) codeText_;
    simkey_configure_fn configure_;
    simkey_problem_fn problem_;
    simkey_reset_fn reset_;
    simkey_make_credential_fn makeCredential_;
};

}  // namespace kelvor::simulator
