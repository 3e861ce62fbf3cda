#include "surroundings/smart_card_csp.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace kelvor::simulator {
namespace {

std::atomic<SmartCardCsp*> active{nullptr};

BOOL Refuse(DWORD code) noexcept
{
    SetLastError(code);
    return FALSE;
}

void AttachKeyInfo(const CERT_CONTEXT* context, const CardCertificate& certificate)
{
    std::wstring container = certificate.container.value_or(L"");
    std::wstring provider = certificate.provider;
    CRYPT_KEY_PROV_INFO info = {};
    info.pwszContainerName = certificate.container ? container.data() : nullptr;
    info.pwszProvName = provider.data();
    info.dwProvType = PROV_RSA_FULL;
    info.dwKeySpec = certificate.keySpec;
    CertSetCertificateContextProperty(context, CERT_KEY_PROV_INFO_PROP_ID, 0, &info);
}

// A memory store enumerates what was added last first.
HCERTSTORE MakeStore(const std::vector<CardCertificate>& certificates)
{
    const HCERTSTORE store =
        CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr);
    for (auto next = certificates.rbegin(); next != certificates.rend(); ++next) {
        const CardCertificate& certificate = *next;
        const CERT_CONTEXT* context = nullptr;
        if (CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, certificate.der.data(),
                                             static_cast<DWORD>(certificate.der.size()),
                                             CERT_STORE_ADD_ALWAYS, &context)) {
            if (certificate.hasKeyInfo) {
                AttachKeyInfo(context, certificate);
            }
            CertFreeCertificateContext(context);
        }
    }
    return store;
}

}  // namespace

struct SmartCardCspEntry {
    static BOOL WINAPI Acquire(HCRYPTPROV* context, LPCWSTR container, LPCWSTR provider, DWORD type,
                               DWORD flags)
    {
        SmartCardCsp& self = *active;
        const std::wstring argument = std::wstring(container != nullptr ? container : L"") +
                                      (provider != nullptr ? provider : L"") + L"|" +
                                      std::to_wstring(type) + L"|" + std::to_wstring(flags);
        if (const auto code = self.calls_.Enter("CryptAcquireContextW", argument)) {
            return Refuse(*code);
        }
        self.lock_.With([&] {
            *context = self.nextContext_++;
            self.contexts_.push_back(*context);
        });
        return TRUE;
    }

    static BOOL WINAPI GetParam(HCRYPTPROV context, DWORD parameter, BYTE* data, DWORD* size, DWORD)
    {
        SmartCardCsp& self = *active;
        if (const auto code = self.calls_.Enter("CryptGetProvParam", std::to_wstring(parameter))) {
            return Refuse(*code);
        }
        const bool known =
            self.lock_.With([&] { return std::ranges::count(self.contexts_, context) != 0; });
        if (!known || parameter != PP_USER_CERTSTORE || *size < sizeof(HCERTSTORE)) {
            return Refuse(static_cast<DWORD>(NTE_BAD_TYPE));
        }
        HCERTSTORE store = nullptr;
        if (!self.lock_.With([&] { return self.givesNullStore_; })) {
            store = MakeStore(self.lock_.With([&] { return self.source_; })());
            self.lock_.With([&] { self.stores_.push_back(store); });
        }
        std::memcpy(data, &store, sizeof store);
        *size = sizeof store;
        return TRUE;
    }

    static BOOL WINAPI Release(HCRYPTPROV context, DWORD)
    {
        SmartCardCsp& self = *active;
        const auto code = self.calls_.Enter("CryptReleaseContext");
        const bool known =
            self.lock_.With([&] { return std::erase(self.contexts_, context) != 0; });
        if (code || !known) {
            return Refuse(code.value_or(ERROR_INVALID_HANDLE));
        }
        return TRUE;
    }

    static BOOL WINAPI CloseStore(HCERTSTORE store, DWORD flags)
    {
        SmartCardCsp& self = *active;
        self.calls_.Enter("CertCloseStore", std::to_wstring(flags));
        self.lock_.With([&] { std::erase(self.stores_, store); });
        return CertCloseStore(store, flags);
    }

    static PCCERT_CONTEXT WINAPI Enumerate(HCERTSTORE store, PCCERT_CONTEXT previous)
    {
        SmartCardCsp& self = *active;
        const auto code = self.calls_.Enter("CertEnumCertificatesInStore");
        PCCERT_CONTEXT next = nullptr;
        if (code) {
            CertFreeCertificateContext(previous);
            SetLastError(*code);
        } else {
            next = CertEnumCertificatesInStore(store, previous);
        }
        self.lock_.With([&] {
            self.certificates_ -= previous != nullptr ? 1 : 0;
            self.certificates_ += next != nullptr ? 1 : 0;
        });
        return next;
    }

    static BOOL WINAPI Free(PCCERT_CONTEXT certificate)
    {
        SmartCardCsp& self = *active;
        self.calls_.Enter("CertFreeCertificateContext");
        self.lock_.With([&] { self.certificates_ -= certificate != nullptr ? 1 : 0; });
        return CertFreeCertificateContext(certificate);
    }

    static BOOL WINAPI GetUsage(PCCERT_CONTEXT certificate, DWORD flags, PCERT_ENHKEY_USAGE usage,
                                DWORD* size)
    {
        if (const auto code =
                (*active).calls_.Enter("CertGetEnhancedKeyUsage", std::to_wstring(flags))) {
            return Refuse(*code);
        }
        return CertGetEnhancedKeyUsage(certificate, flags, usage, size);
    }

    static BOOL WINAPI GetProperty(PCCERT_CONTEXT certificate, DWORD property, void* data,
                                   DWORD* size)
    {
        if (const auto code = (*active).calls_.Enter("CertGetCertificateContextProperty",
                                                     std::to_wstring(property))) {
            return Refuse(*code);
        }
        return CertGetCertificateContextProperty(certificate, property, data, size);
    }

    static DWORD WINAPI GetName(PCCERT_CONTEXT certificate, DWORD type, DWORD flags,
                                void* parameter, LPWSTR name, DWORD length)
    {
        const auto code = (*active).calls_.Enter("CertGetNameStringW", std::to_wstring(type));
        if (type != CERT_NAME_UPN_TYPE) {
            return CertGetNameStringW(certificate, type, flags, parameter, name, length);
        }
        const std::wstring upn = code ? std::wstring() : UpnOfCertificate(*certificate);
        if (name == nullptr || length == 0) {
            return static_cast<DWORD>(upn.size()) + 1;
        }
        const std::size_t copied = std::min<std::size_t>(upn.size(), length - 1);
        std::copy_n(upn.begin(), copied, name);
        name[copied] = L'\0';
        return static_cast<DWORD>(copied) + 1;
    }
};

SmartCardCsp::SmartCardCsp(HMODULE module) : source_([] { return std::vector<CardCertificate>(); })
{
    active = this;
    using Entry = SmartCardCspEntry;
    patches_.emplace_back(module, "CryptAcquireContextW", &Entry::Acquire);
    patches_.emplace_back(module, "CryptGetProvParam", &Entry::GetParam);
    patches_.emplace_back(module, "CryptReleaseContext", &Entry::Release);
    patches_.emplace_back(module, "CertCloseStore", &Entry::CloseStore);
    patches_.emplace_back(module, "CertEnumCertificatesInStore", &Entry::Enumerate);
    patches_.emplace_back(module, "CertFreeCertificateContext", &Entry::Free);
    patches_.emplace_back(module, "CertGetEnhancedKeyUsage", &Entry::GetUsage);
    patches_.emplace_back(module, "CertGetCertificateContextProperty", &Entry::GetProperty);
    patches_.emplace_back(module, "CertGetNameStringW", &Entry::GetName);
}

SmartCardCsp::~SmartCardCsp()
{
    patches_.clear();
    active = nullptr;
}

void SmartCardCsp::SetCertificates(std::vector<CardCertificate> certificates)
{
    SetSource([certificates = std::move(certificates)] { return certificates; });
}

void SmartCardCsp::SetSource(std::function<std::vector<CardCertificate>()> source)
{
    lock_.With([&] { source_ = std::move(source); });
}

void SmartCardCsp::SetGivesNullStore(bool givesNullStore)
{
    lock_.With([&] { givesNullStore_ = givesNullStore; });
}

std::size_t SmartCardCsp::Outstanding() const
{
    return lock_.With([&] { return contexts_.size() + stores_.size() + certificates_; });
}

}  // namespace kelvor::simulator
