#include "sclogon/card_store.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace kelvor {
namespace {

// szOID_KP_SMARTCARD_LOGON (wincrypt.h).
constexpr std::string_view kSmartCardLogonUsage = "1.3.6.1.4.1.311.20.2.2";

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

}  // namespace

CardStore::CardStore(const std::wstring& csp)
{
    if (!CryptAcquireContextW(context_.Receive(), nullptr, csp.c_str(), PROV_RSA_FULL,
                              CRYPT_VERIFYCONTEXT)) {
        return;
    }
    HCERTSTORE store = nullptr;
    DWORD sizeBytes = sizeof store;
    if (CryptGetProvParam(context_.Get(), PP_USER_CERTSTORE, reinterpret_cast<BYTE*>(&store),
                          &sizeBytes, 0)) {
        store_.Reset(store);
    }
}

Certificate CardStore::Next(Certificate previous) const
{
    // The enumeration takes the previous certificate back.
    return Certificate(CertEnumCertificatesInStore(store_.Get(), previous.Release()));
}

std::vector<std::string> ReadUsages(PCCERT_CONTEXT certificate)
{
    std::vector<BYTE> buffer = ReadStructure<CERT_ENHKEY_USAGE>([&](BYTE* data, DWORD* sizeBytes) {
        return CertGetEnhancedKeyUsage(certificate, 0, reinterpret_cast<CERT_ENHKEY_USAGE*>(data),
                                       sizeBytes);
    });
    if (buffer.empty()) {
        return {};
    }
    const auto* usage = reinterpret_cast<const CERT_ENHKEY_USAGE*>(buffer.data());
    const LPSTR* const first = usage->rgpszUsageIdentifier;
    return {first, first + usage->cUsageIdentifier};
}

bool IsForSmartCardLogon(PCCERT_CONTEXT certificate)
{
    return std::ranges::count(ReadUsages(certificate), kSmartCardLogonUsage) != 0;
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

}  // namespace kelvor
