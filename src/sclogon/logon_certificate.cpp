#include "sclogon/logon_certificate.h"

#include <windows.h>

#include <wincrypt.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "handle.h"

namespace kelvor {
namespace {

// szOID_KP_SMARTCARD_LOGON (wincrypt.h).
constexpr std::string_view kSmartCardLogonUsage = "1.3.6.1.4.1.311.20.2.2";

struct CspContextPolicy {
    using Handle = HCRYPTPROV;
    static Handle Empty() noexcept { return 0; }
    static void Close(Handle context) noexcept { CryptReleaseContext(context, 0); }
};
using CspContext = Unique<CspContextPolicy>;

struct CertificateStorePolicy {
    using Handle = HCERTSTORE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle store) noexcept { CertCloseStore(store, 0); }
};
using CertificateStore = Unique<CertificateStorePolicy>;

struct CertificatePolicy {
    using Handle = PCCERT_CONTEXT;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle certificate) noexcept { CertFreeCertificateContext(certificate); }
};
using Certificate = Unique<CertificatePolicy>;

CspContext OpenCsp(const std::wstring& csp)
{
    HCRYPTPROV context = 0;
    if (!CryptAcquireContextW(&context, nullptr, csp.c_str(), PROV_RSA_FULL, CRYPT_VERIFYCONTEXT)) {
        return {};
    }
    return CspContext(context);
}

CertificateStore OpenUserStore(HCRYPTPROV csp)
{
    HCERTSTORE store = nullptr;
    DWORD sizeBytes = sizeof store;
    if (!CryptGetProvParam(csp, PP_USER_CERTSTORE, reinterpret_cast<BYTE*>(&store), &sizeBytes,
                           0)) {
        return {};
    }
    return CertificateStore(store);
}

// Asks `read(buffer, sizeBytes)` for the size first and then for the structure, which points into
// the buffer that is returned. Empty when either fails or the size is not even the structure's.
template <class Structure, class Read>
std::vector<BYTE> ReadStructure(Read&& read)
{
    DWORD sizeBytes = 0;
    if (!read(nullptr, &sizeBytes) || sizeBytes < sizeof(Structure)) {
        return {};
    }
    std::vector<BYTE> buffer(sizeBytes);
    if (!read(buffer.data(), &sizeBytes)) {
        return {};
    }
    return buffer;
}

// A certificate without a usage list is good for anything, but was not meant for logon.
bool IsForSmartCardLogon(PCCERT_CONTEXT certificate)
{
    std::vector<BYTE> buffer = ReadStructure<CERT_ENHKEY_USAGE>([&](BYTE* data, DWORD* sizeBytes) {
        return CertGetEnhancedKeyUsage(certificate, 0, reinterpret_cast<CERT_ENHKEY_USAGE*>(data),
                                       sizeBytes);
    });
    if (buffer.empty()) {
        return false;
    }
    const auto* usage = reinterpret_cast<const CERT_ENHKEY_USAGE*>(buffer.data());
    const LPSTR* const first = usage->rgpszUsageIdentifier;
    return std::any_of(first, first + usage->cUsageIdentifier,
                       [](const char* identifier) { return identifier == kSmartCardLogonUsage; });
}

bool ReadContainer(PCCERT_CONTEXT certificate, std::wstring& container)
{
    std::vector<BYTE> buffer =
        ReadStructure<CRYPT_KEY_PROV_INFO>([&](BYTE* data, DWORD* sizeBytes) {
            return CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, data,
                                                     sizeBytes);
        });
    if (buffer.empty()) {
        return false;
    }
    const auto* key = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(buffer.data());
    if (key->pwszContainerName == nullptr) {
        return false;
    }
    container = key->pwszContainerName;
    return true;
}

Certificate FindFirstForLogon(HCERTSTORE store, std::wstring& container)
{
    Certificate certificate;
    do {
        // The enumeration takes the previous certificate back.
        certificate = Certificate(CertEnumCertificatesInStore(store, certificate.Release()));
    } while (certificate && !(IsForSmartCardLogon(certificate.Get()) &&
                              ReadContainer(certificate.Get(), container)));
    return certificate;
}

std::wstring ReadUpn(PCCERT_CONTEXT certificate)
{
    const DWORD sizeChars =
        CertGetNameStringW(certificate, CERT_NAME_UPN_TYPE, 0, nullptr, nullptr, 0);
    if (sizeChars <= 1) {
        return {};
    }
    std::wstring upn(sizeChars, L'\0');
    const DWORD writtenChars =
        CertGetNameStringW(certificate, CERT_NAME_UPN_TYPE, 0, nullptr, upn.data(), sizeChars);
    upn.resize(writtenChars >= 2 ? std::min(writtenChars, sizeChars) - 1 : 0);
    return upn;
}

}  // namespace

bool FindLogonCertificate(const std::wstring& csp, std::wstring& container, std::wstring* upn)
{
    const CspContext context = OpenCsp(csp);
    if (!context) {
        return false;
    }
    const CertificateStore store = OpenUserStore(context.Get());
    if (!store) {
        return false;
    }
    const Certificate certificate = FindFirstForLogon(store.Get(), container);
    if (!certificate) {
        return false;
    }
    if (upn != nullptr) {
        *upn = ReadUpn(certificate.Get());
    }
    return true;
}

}  // namespace kelvor
