#include <windows.h>

#include <wincrypt.h>
#include <winscard.h>

#include <cstring>
#include <iterator>

#include "host/quick_surroundings.h"
#include "support/certificate_maker.h"

namespace kelvor::bench {
namespace {

// Each list ends with an empty name.
constexpr wchar_t kReaders[] = L"Kelvor Virtual Smart Card Reader 0\0";
constexpr wchar_t kCards[] = L"Kelvor Card\0";
constexpr wchar_t kUpn[] = L"alice@corp.example";
constexpr BYTE kAtr[] = {0x3B, 0x8D, 0x01, 0x80, 0x4B, 0x56};

LONG WINAPI Establish(DWORD, LPCVOID, LPCVOID, LPSCARDCONTEXT context)
{
    *context = 1;
    return SCARD_S_SUCCESS;
}

LONG WINAPI ReleaseContext(SCARDCONTEXT)
{
    return SCARD_S_SUCCESS;
}

// As SCARD_AUTOALLOCATE wants it: `out` takes the address of the list.
LONG GiveList(const wchar_t* list, DWORD lengthChars, LPWSTR out, LPDWORD length)
{
    std::memcpy(out, &list, sizeof list);
    *length = lengthChars;
    return SCARD_S_SUCCESS;
}

LONG WINAPI ListReaders(SCARDCONTEXT, LPCWSTR, LPWSTR readers, LPDWORD length)
{
    return GiveList(kReaders, static_cast<DWORD>(std::size(kReaders)), readers, length);
}

LONG WINAPI ListCards(SCARDCONTEXT, LPCBYTE, LPCGUID, DWORD, WCHAR* cards, LPDWORD length)
{
    return GiveList(kCards, static_cast<DWORD>(std::size(kCards)), cards, length);
}

LONG WINAPI FreeList(SCARDCONTEXT, LPCVOID)
{
    return SCARD_S_SUCCESS;
}

LONG WINAPI Connect(SCARDCONTEXT, LPCWSTR, DWORD, DWORD, LPSCARDHANDLE card, LPDWORD protocol)
{
    *card = 1;
    *protocol = SCARD_PROTOCOL_T1;
    return SCARD_S_SUCCESS;
}

LONG WINAPI Disconnect(SCARDHANDLE, DWORD)
{
    return SCARD_S_SUCCESS;
}

LONG WINAPI Status(SCARDHANDLE, LPWSTR, LPDWORD, LPDWORD, LPDWORD, LPBYTE atr, LPDWORD atrLength)
{
    std::memcpy(atr, kAtr, sizeof kAtr);
    *atrLength = sizeof kAtr;
    return SCARD_S_SUCCESS;
}

HCERTSTORE MakeStore()
{
    const std::vector<unsigned char> der = test::MakeCertificate();
    HCERTSTORE store =
        CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr);
    const CERT_CONTEXT* certificate = nullptr;
    CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, der.data(),
                                     static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS,
                                     &certificate);
    wchar_t container[] = L"alice-container";
    wchar_t provider[] = L"Microsoft Base Smart Card Crypto Provider";
    CRYPT_KEY_PROV_INFO key = {};
    key.pwszContainerName = container;
    key.pwszProvName = provider;
    key.dwProvType = PROV_RSA_FULL;
    key.dwKeySpec = AT_KEYEXCHANGE;
    CertSetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, 0, &key);
    CertFreeCertificateContext(certificate);
    return store;
}

BOOL WINAPI Acquire(HCRYPTPROV* context, LPCWSTR, LPCWSTR, DWORD, DWORD)
{
    *context = 1;
    return TRUE;
}

// The asker closes what it gets: one more reference to the only store.
BOOL WINAPI GetParam(HCRYPTPROV, DWORD, BYTE* data, DWORD* sizeBytes, DWORD)
{
    static HCERTSTORE const theStore = MakeStore();
    HCERTSTORE given = CertDuplicateStore(theStore);
    std::memcpy(data, &given, sizeof given);
    *sizeBytes = sizeof given;
    return TRUE;
}

BOOL WINAPI ReleaseProvider(HCRYPTPROV, DWORD)
{
    return TRUE;
}

DWORD WINAPI GetName(PCCERT_CONTEXT, DWORD, DWORD, void*, LPWSTR name, DWORD)
{
    if (name != nullptr) {
        std::memcpy(name, kUpn, sizeof kUpn);
    }
    return static_cast<DWORD>(std::size(kUpn));
}

}  // namespace

std::vector<Replacement> QuickCard()
{
    return {{"SCardEstablishContext", reinterpret_cast<void*>(&Establish)},
            {"SCardReleaseContext", reinterpret_cast<void*>(&ReleaseContext)},
            {"SCardListReadersW", reinterpret_cast<void*>(&ListReaders)},
            {"SCardListCardsW", reinterpret_cast<void*>(&ListCards)},
            {"SCardFreeMemory", reinterpret_cast<void*>(&FreeList)},
            {"SCardConnectW", reinterpret_cast<void*>(&Connect)},
            {"SCardDisconnect", reinterpret_cast<void*>(&Disconnect)},
            {"SCardStatusW", reinterpret_cast<void*>(&Status)},
            {"CryptAcquireContextW", reinterpret_cast<void*>(&Acquire)},
            {"CryptGetProvParam", reinterpret_cast<void*>(&GetParam)},
            {"CryptReleaseContext", reinterpret_cast<void*>(&ReleaseProvider)},
            {"CertGetNameStringW", reinterpret_cast<void*>(&GetName)}};
}

}  // namespace kelvor::bench
