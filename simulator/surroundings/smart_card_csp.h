#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "imports/import_table.h"
#include "lock.h"
#include "surroundings/call_book.h"

namespace kelvor::simulator {

// A certificate as a smart card's provider publishes it in its user store.
struct CardCertificate {
    std::vector<unsigned char> der;
    bool hasKeyInfo = true;                 // false: no CERT_KEY_PROV_INFO_PROP_ID at all
    std::optional<std::wstring> container;  // nothing: the property names no container
    std::wstring provider = L"Microsoft Base Smart Card Crypto Provider";
    DWORD keySpec = AT_KEYEXCHANGE;
};

// Stands in for the smart-card cryptographic provider (CryptAcquireContextW, CryptGetProvParam,
// CryptReleaseContext) on a real crypt32 memory store, and for CertGetNameStringW, which it
// answers from the certificate's subject alternative name. The other certificate functions that
// the module imports go to crypt32 after they were counted. Any thread. One object at a time.
class SmartCardCsp {
 public:
    explicit SmartCardCsp(HMODULE module);
    ~SmartCardCsp();
    SmartCardCsp(const SmartCardCsp&) = delete;
    SmartCardCsp& operator=(const SmartCardCsp&) = delete;

    // In the order in which the store is to enumerate them.
    void SetCertificates(std::vector<CardCertificate> certificates);
    // Asked, outside every lock, whenever the module opens the store.
    void SetSource(std::function<std::vector<CardCertificate>()> source);
    // Lets CryptGetProvParam succeed with a null store.
    void SetGivesNullStore(bool givesNullStore);

    // The argument kept: "<provider>|<type>|<flags>" for CryptAcquireContextW.
    CallBook& Calls() noexcept { return calls_; }

    // Contexts, stores and certificates that were handed out and have not come back.
    std::size_t Outstanding() const;

 private:
    friend struct SmartCardCspEntry;

    CallBook calls_;
    Lock lock_;
    std::function<std::vector<CardCertificate>()> source_;
    bool givesNullStore_ = false;
    std::vector<HCRYPTPROV> contexts_;
    std::vector<HCERTSTORE> stores_;
    std::size_t certificates_ = 0;
    HCRYPTPROV nextContext_ = 0xC5B0'0001;
    std::vector<ImportPatch> patches_;
};

// The UPN in a certificate's subject alternative name (otherName 1.3.6.1.4.1.311.20.2.3, a
// UTF8String); empty when there is none or the extension cannot be read.
std::wstring UpnOfCertificate(const CERT_CONTEXT& certificate);

}  // namespace kelvor::simulator
