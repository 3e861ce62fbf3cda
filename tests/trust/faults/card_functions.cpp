// The smart card: resource manager, key containers and certificates.
#include <windows.h>

#include <wincrypt.h>
#include <winscard.h>

#include "trust/faults/import_tables.h"

namespace kelvor::trust {
namespace {

void AddReaderFunctions(Fallibles& all)
{
    Add<"SCardEstablishContext", decltype(SCardEstablishContext)>(
        all, Area::kReader,
        {{"SCARD_E_NO_SERVICE", SCARD_E_NO_SERVICE}, {"SCARD_E_NO_MEMORY", SCARD_E_NO_MEMORY}});
    Add<"SCardReleaseContext", decltype(SCardReleaseContext)>(
        all, Area::kSideIssue, {{"SCARD_E_INVALID_HANDLE", kCarriedOut, SCARD_E_INVALID_HANDLE}});
    Add<"SCardListReadersW", decltype(SCardListReadersW)>(
        all, Area::kReader,
        {{"SCARD_E_NO_READERS_AVAILABLE", SCARD_E_NO_READERS_AVAILABLE},
         {"SCARD_E_SERVICE_STOPPED", SCARD_E_SERVICE_STOPPED},
         {"SCARD_E_NO_MEMORY", SCARD_E_NO_MEMORY}});
    Add<"SCardListCardsW", decltype(SCardListCardsW)>(
        all, Area::kReader,
        {{"SCARD_E_NO_MEMORY", SCARD_E_NO_MEMORY},
         {"SCARD_F_INTERNAL_ERROR", SCARD_F_INTERNAL_ERROR}});
    Add<"SCardFreeMemory", decltype(SCardFreeMemory)>(
        all, Area::kSideIssue,
        {{"SCARD_E_INVALID_PARAMETER", kCarriedOut, SCARD_E_INVALID_PARAMETER}});
    Add<"SCardConnectW", decltype(SCardConnectW)>(
        all, Area::kReader,
        {{"SCARD_E_NO_SMARTCARD", SCARD_E_NO_SMARTCARD},
         {"SCARD_E_SHARING_VIOLATION", SCARD_E_SHARING_VIOLATION},
         {"SCARD_W_UNRESPONSIVE_CARD", SCARD_W_UNRESPONSIVE_CARD},
         {"SCARD_W_REMOVED_CARD", SCARD_W_REMOVED_CARD}});
    Add<"SCardStatusW", decltype(SCardStatusW)>(
        all, Area::kReader,
        {{"SCARD_W_RESET_CARD", SCARD_W_RESET_CARD},
         {"SCARD_W_REMOVED_CARD", SCARD_W_REMOVED_CARD},
         {"SCARD_E_INSUFFICIENT_BUFFER", SCARD_E_INSUFFICIENT_BUFFER}});
    Add<"SCardDisconnect", decltype(SCardDisconnect)>(
        all, Area::kSideIssue, {{"SCARD_W_REMOVED_CARD", kCarriedOut, SCARD_W_REMOVED_CARD}});
}

void AddContainerFunctions(Fallibles& all)
{
    Add<"CryptAcquireContextW", decltype(CryptAcquireContextW)>(
        all, Area::kCertificate,
        {{"NTE_BAD_KEYSET", FALSE, static_cast<DWORD>(NTE_BAD_KEYSET)},
         {"NTE_KEYSET_NOT_DEF", FALSE, static_cast<DWORD>(NTE_KEYSET_NOT_DEF)},
         {"ERROR_NOT_ENOUGH_MEMORY", FALSE, ERROR_NOT_ENOUGH_MEMORY}});
    Add<"CryptGetProvParam", decltype(CryptGetProvParam)>(
        all, Area::kCertificate,
        {{"NTE_BAD_TYPE", FALSE, static_cast<DWORD>(NTE_BAD_TYPE)},
         {"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA},
         {"ERROR_NO_MORE_ITEMS", FALSE, ERROR_NO_MORE_ITEMS}});
    Add<"CryptReleaseContext", decltype(CryptReleaseContext)>(
        all, Area::kSideIssue, {{"ERROR_BUSY", kCarriedOut, FALSE, ERROR_BUSY}});
}

void AddCertificateFunctions(Fallibles& all)
{
    using Walk =
        FallibleFunction<"CertEnumCertificatesInStore", decltype(CertEnumCertificatesInStore)>::Act;
    const Walk walkEnds = [](auto, HCERTSTORE, PCCERT_CONTEXT previous) -> PCCERT_CONTEXT {
        CertFreeCertificateContext(previous);  // whatever it answers
        SetLastError(static_cast<DWORD>(CRYPT_E_NOT_FOUND));
        return nullptr;
    };
    Add<"CertEnumCertificatesInStore", decltype(CertEnumCertificatesInStore)>(
        all, Area::kCertificate, {{"CRYPT_E_NOT_FOUND", kByHand, walkEnds}});
    Add<"CertCloseStore", decltype(CertCloseStore)>(
        all, Area::kSideIssue,
        {{"CRYPT_E_PENDING_CLOSE", kCarriedOut, FALSE, static_cast<DWORD>(CRYPT_E_PENDING_CLOSE)}});
    Add<"CertGetCertificateContextProperty", decltype(CertGetCertificateContextProperty)>(
        all, Area::kCertificate,
        {{"CRYPT_E_NOT_FOUND", FALSE, static_cast<DWORD>(CRYPT_E_NOT_FOUND)},
         {"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA}});
    Add<"CertGetEnhancedKeyUsage", decltype(CertGetEnhancedKeyUsage)>(
        all, Area::kCertificate,
        {{"CRYPT_E_NOT_FOUND", FALSE, static_cast<DWORD>(CRYPT_E_NOT_FOUND)},
         {"ERROR_MORE_DATA", FALSE, ERROR_MORE_DATA}});
    Add<"CertGetNameStringW", decltype(CertGetNameStringW)>(
        all, Area::kCertificate,
        {{"no name", kByHand,
          [](auto, PCCERT_CONTEXT, DWORD, DWORD, void*, LPWSTR name, DWORD length) -> DWORD {
              if (name != nullptr && length != 0) {
                  *name = L'\0';
              }
              return 1;
          }}});
}

}  // namespace

void AddCardFunctions(Fallibles& all)
{
    AddReaderFunctions(all);
    AddContainerFunctions(all);
    AddCertificateFunctions(all);
}

}  // namespace kelvor::trust
