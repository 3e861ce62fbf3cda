#include "bare/bare_card.h"

#include <windows.h>

#include <ntsecapi.h>

#include <wincrypt.h>
#include <winscard.h>

namespace kelvor::bench {

void ReadReader()
{
    SCARDCONTEXT context = 0;
    SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
    wchar_t* readers = nullptr;
    DWORD length = SCARD_AUTOALLOCATE;
    SCardListReadersW(context, nullptr, reinterpret_cast<wchar_t*>(&readers), &length);
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    SCardConnectW(context, readers, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                  &card, &protocol);
    wchar_t names[256];
    DWORD namesLength = 256;
    BYTE atr[64];
    DWORD atrLength = sizeof atr;
    DWORD state = 0;
    SCardStatusW(card, names, &namesLength, &state, &protocol, atr, &atrLength);
    wchar_t* cards = nullptr;
    length = SCARD_AUTOALLOCATE;
    SCardListCardsW(context, atr, nullptr, 0, reinterpret_cast<wchar_t*>(&cards), &length);
    SCardFreeMemory(context, cards);
    SCardDisconnect(card, SCARD_LEAVE_CARD);
    SCardFreeMemory(context, readers);
    SCardReleaseContext(context);
}

void ReadCertificate()
{
    HCRYPTPROV provider = 0;
    CryptAcquireContextW(&provider, nullptr, L"Microsoft Base Smart Card Crypto Provider",
                         PROV_RSA_FULL, CRYPT_VERIFYCONTEXT);
    HCERTSTORE store = nullptr;
    DWORD sizeBytes = sizeof store;
    CryptGetProvParam(provider, PP_USER_CERTSTORE, reinterpret_cast<BYTE*>(&store), &sizeBytes, 0);
    PCCERT_CONTEXT certificate = CertEnumCertificatesInStore(store, nullptr);
    alignas(8) BYTE buffer[1024];
    CertGetEnhancedKeyUsage(certificate, 0, nullptr, &sizeBytes);
    CertGetEnhancedKeyUsage(certificate, 0, reinterpret_cast<CERT_ENHKEY_USAGE*>(buffer),
                            &sizeBytes);
    CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &sizeBytes);
    CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, buffer, &sizeBytes);
    wchar_t upn[256];
    CertGetNameStringW(certificate, CERT_NAME_UPN_TYPE, 0, nullptr, nullptr, 0);
    CertGetNameStringW(certificate, CERT_NAME_UPN_TYPE, 0, nullptr, upn, 256);
    CertFreeCertificateContext(certificate);
    CertCloseStore(store, 0);
    CryptReleaseContext(provider, 0);
}

void FindKerberos()
{
    HANDLE lsa = nullptr;
    LsaConnectUntrusted(&lsa);
    char name[] = "Kerberos";
    LSA_STRING kerberos = {sizeof name - 1, sizeof name, name};
    ULONG package = 0;
    LsaLookupAuthenticationPackage(lsa, &kerberos, &package);
    LsaDeregisterLogonProcess(lsa);
}

}  // namespace kelvor::bench
