#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <string>
#include <vector>

#include "handle.h"

namespace kelvor {

struct CspContextPolicy {
    using Handle = HCRYPTPROV;
    static Handle Empty() noexcept { return 0; }
    static void Close(Handle context) noexcept { CryptReleaseContext(context, 0); }
};

struct CertificateStorePolicy {
    using Handle = HCERTSTORE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle store) noexcept { CertCloseStore(store, 0); }
};

struct CertificatePolicy {
    using Handle = PCCERT_CONTEXT;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle certificate) noexcept { CertFreeCertificateContext(certificate); }
};
using Certificate = Unique<CertificatePolicy>;

// The certificates that a card offers through the provider `csp`. Empty when the card cannot be
// read.
class CardStore {
 public:
    explicit CardStore(const std::wstring& csp);

    explicit operator bool() const noexcept { return static_cast<bool>(store_); }
    // The certificate behind `previous`, which is given back, or the first one; empty at the end.
    Certificate Next(Certificate previous) const;

 private:
    Unique<CspContextPolicy> context_;
    Unique<CertificateStorePolicy> store_;
};

// The enhanced key usages that the certificate names, as object identifiers.
std::vector<std::string> ReadUsages(PCCERT_CONTEXT certificate);

// Whether the certificate's usages name smart-card logon. A certificate without a usage list is
// good for anything, but was not meant for logon.
bool IsForSmartCardLogon(PCCERT_CONTEXT certificate);

// The key container that the certificate belongs to; false when it names none.
bool ReadContainer(PCCERT_CONTEXT certificate, std::wstring& container);

// The user principal name that the certificate names; empty when it has none.
std::wstring ReadUpn(PCCERT_CONTEXT certificate);

}  // namespace kelvor
