#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <span>
#include <string>

#include "handle.h"

namespace kelvor::simulator {

struct CertificateContextPolicy {
    using Handle = PCCERT_CONTEXT;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle certificate) noexcept { CertFreeCertificateContext(certificate); }
};
using UniqueCertificate = Unique<CertificateContextPolicy>;

// Parses a certificate; empty when the bytes are none.
UniqueCertificate ReadCertificate(std::span<const unsigned char> der);

// "CN=..., O=..." of the subject or the issuer.
std::string SubjectOf(const CERT_CONTEXT& certificate);
std::string IssuerOf(const CERT_CONTEXT& certificate);
// "2026-11-21 06:30 UTC" of the end of its validity.
std::string ValidUntil(const CERT_CONTEXT& certificate);

// Whether the authority issued it: same name, and the authority's key made its signature.
bool IssuedBy(const CERT_CONTEXT& certificate, std::span<const unsigned char> authority);
bool ValidNow(const CERT_CONTEXT& certificate);
// Whether its enhanced key usage names smart-card logon.
bool AllowsSmartCardLogon(const CERT_CONTEXT& certificate);

// Whether `signature` (RSASSA-PKCS1-v1_5, big-endian) over the SHA-256 hash is by the
// certificate's key.
bool Verifies(const CERT_CONTEXT& certificate, std::span<const unsigned char> hash,
              std::span<const unsigned char> signature);

}  // namespace kelvor::simulator
